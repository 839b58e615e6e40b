#include "tasks/datasets.h"

#include <stdexcept>

namespace mirel {

const Volume<float>& firstVolume(const std::vector<Volume<float>>& volumes,
                                 const std::string& fileName) {
  if (volumes.empty()) throw std::runtime_error("File " + fileName + " has no volumes.");
  return volumes.front();
}

void requireSameDimensions(glm::ivec3 a, glm::ivec3 b) {
  if (a != b) throw std::runtime_error("All datasets must have the same dimensions!");
}

}  // namespace mirel
