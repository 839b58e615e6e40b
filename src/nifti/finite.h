#pragma once

#include <cstddef>
#include <string>

#include "containers/volume.h"

namespace mirel::nifti {

/// Throws Error, naming the file that is to be written, when a voxel of a result is NaN or
/// infinite: of finite inputs that is one whose size exceeds the range of 32-bit floats.
void requireFinite(const Volume<float>& result, const std::string& fileName);

/// What `count` voxels are that were read as NaN or infinite, in words that follow "are": that, or
/// beyond the range of 32-bit floats, as `beyond` of them are (RoundingLoss), or some of both.
std::string whatIsNotFinite(std::size_t count, std::size_t beyond);

}  // namespace mirel::nifti
