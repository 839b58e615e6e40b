#pragma once

#include <string>
#include <vector>

#include "fuzz/input.h"
#include "nifti/header.h"

namespace mirel::fuzz {

/// The bytes of a small image of a head in air, of which the fuzzer's bytes choose data type and
/// volumes, and change header and samples anywhere.
std::string chosenImage(Input& input, const glm::ivec3& dims);

/// 4 to 12 voxels along each axis.
glm::ivec3 chosenDims(Input& input);

/// `usual`, or what the fuzzer has in its place.
std::string chosenText(Input& input, const std::string& usual);

/// Requires of every image in a folder that it can be read and that all of its values are finite.
void requireFiniteImages(const std::string& folder);

}  // namespace mirel::fuzz
