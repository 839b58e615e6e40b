#pragma once

#include <string>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// The volume whose dimensions stand for a project's: its first one.
/// @throws std::runtime_error when the project has no volumes.
const Volume<float>& firstVolume(const std::vector<Volume<float>>& volumes,
                                 const std::string& fileName);

/// @throws std::runtime_error "All datasets must have the same dimensions!" unless a equals b.
void requireSameDimensions(glm::ivec3 a, glm::ivec3 b);

}  // namespace mirel
