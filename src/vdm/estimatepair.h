#pragma once

#include <glm/vec3.hpp>
#include <ostream>
#include <vector>

#include "base/progress.h"
#include "containers/volume.h"

namespace mirel {

/// How a pair is estimated.
struct EstimateOptions {
  bool fast = false;                 ///< the column-wise estimate alone, smoothed
  bool useSsd = false;               ///< sum of squared differences, else cross-correlation
  bool intensityCorrection = false;  ///< of the images, before each scale of the full estimate
};

/// The full estimate's scales from coarse to fine, three parallel lists.
struct LevelSchedule {
  std::vector<Volume<float>> patterns;
  std::vector<std::vector<float>> amplitudes;  ///< voxels
  std::vector<glm::dvec3> sigmas;              ///< voxels
};

/// The schedule for a voxel size in mm.
LevelSchedule makeLevelSchedule(const glm::dvec3& voxelSize);

/// The voxel displacement map of a pair of images with opposite phase encoding along y: to be
/// applied forward to `first` and in reverse to `second`.
///
/// Shapes   both images and the result: the same (nx, ny, nz).
/// Units    voxelSize: mm, along the axes of the images as they are passed. Result: voxels.
/// `done` is told after the column-wise fit, about a third of the full estimate, and each scale.
/// @throws std::logic_error when the dimensions differ; what `done` throws.
Volume<float> estimatePair(const Volume<float>& first, const Volume<float>& second,
                           const glm::dvec3& voxelSize, const EstimateOptions& options,
                           std::ostream& log, const ReportDone& done = {});

}  // namespace mirel
