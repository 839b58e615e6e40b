#include "masspreserving/masspreserving.h"

#include <cmath>
#include <stdexcept>

#include "masspreserving/estimation.h"
#include "masspreserving/movedimage.h"

namespace mirel {

MassPreservingResult estimateMassPreserving(
    const Volume<float>& first, const Volume<float>& second, const glm::dvec3& voxelMm,
    const MassPreservingOptions& options,
    const std::function<void(const MassPreservingProgress&)>& progress) {
  if (first.dimensions() != second.dimensions())
    throw std::invalid_argument("the two images of a pair have different sizes");
  for (const Volume<float>* other : {&options.weights, &options.start})
    if (other->size() > 0 && other->dimensions() != first.dimensions())
      throw std::invalid_argument("weights or start have another size than the images");
  for (int axis = 0; axis < 3; ++axis)
    if (!(voxelMm[axis] > 0.0) || !std::isfinite(voxelMm[axis]))
      throw std::invalid_argument("a voxel edge is not a positive number");
  if (first.size() == 0) return {};
  return Estimation(options, progress).run(first, second, voxelMm);
}

Volume<float> secondUnmoved(const Volume<float>& second, const glm::dvec3& voxelMm,
                            const RigidMotion& motion, const Volume<float>& shiftVoxels,
                            const Parallel& parallel) {
  if (second.dimensions() != shiftVoxels.dimensions())
    throw std::invalid_argument("image and map have different sizes");
  if (motion.isNone() || second.size() == 0) return second;
  const GridPlace place = placeOf(second.dimensions(), voxelMm, glm::ivec3(1));
  return MovedImage(second, place, parallel)
      .unmoved(motion, voxelsToEdges(shiftVoxels), -1.0)
      .image;
}

}  // namespace mirel
