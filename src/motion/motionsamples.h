#pragma once

#include <Eigen/Core>
#include <glm/mat3x3.hpp>
#include <glm/vec3.hpp>
#include <string>
#include <vector>

#include "containers/volume.h"
#include "field/grid.h"

namespace mirel {

/// The volumes of a series, whatever the motion: where they lie, and the distortion of the head
/// at its reference place.
struct DistortedPlace {
  Grid grid;
  const Volume<float>& shift;  ///< as for MovedCorrector; it outlives the object
  int axis = 1;
};

/// How much an image changes with a motion of the head: by mm along x, y, z, by rad about them, and
/// with its intensity as a whole.
inline constexpr int motionUnknowns = 7;
using MotionChange = Eigen::Matrix<double, motionUnknowns, 1>;

/// @param perMm  slope of the intensity
/// @param mm     place that the motion is about the origin of
MotionChange changeOf(const glm::dvec3& perMm, const glm::dvec3& mm, double value);

/// A place in the head, and what a reference volume shows of it.
struct MotionSample {
  glm::dvec3 mm;     ///< about the middle of the grid, without the distortion
  double shift;      ///< in voxels along the encoded axis
  glm::dvec3 slope;  ///< of the shift, along i, j, k
  double value;      ///< of the smoothed reference, modulated
  MotionChange change;
  int group;  ///< sampleGroupAt
};

/// At one resolution.
struct MotionLevel {
  double sigmaMm;      ///< that images are smoothed with
  double toleranceMm;  ///< the last step of the search
  std::size_t wanted;  ///< samples, if there are as many voxels
  std::vector<MotionSample> samples = {};
};

/// From places in mm about the middle of a grid to its voxels: turn * mm + middle.
struct MmToVoxels {
  glm::dmat3 turn{1.0};
  glm::dvec3 middle;

  /// Errors  Error, naming `name`, for an affine that is singular or not finite.
  MmToVoxels(const Grid& grid, const std::string& name);
};

/// Places where a cubic spline needs no coefficients beyond the grid.
inline bool isWithin(const glm::dvec3& voxel, const glm::ivec3& dims) {
  for (int axis = 0; axis < 3; ++axis)
    if (!(voxel[axis] >= 1 && voxel[axis] <= dims[axis] - 2)) return false;
  return true;
}

/// Fills in the samples of a level: of `voxels` as many as are wanted, evenly along the list, each
/// at a place within its voxel that is drawn at random (as in sampleReference), as far as what
/// the reference shows of it lies within the grid.
void sampleForMotion(const Volume<float>& reference, const DistortedPlace& place,
                     const MmToVoxels& toVoxels, const std::vector<int>& voxels,
                     MotionLevel& level);

}  // namespace mirel
