#pragma once

#include <glm/vec3.hpp>
#include <string>

namespace mirel {

/// Dimensions as messages spell them, "64 x 64 x 30", or with another sign between the numbers.
inline std::string text(glm::ivec3 dims, const char* times = " x ") {
  return std::to_string(dims.x) + times + std::to_string(dims.y) + times + std::to_string(dims.z);
}

}  // namespace mirel
