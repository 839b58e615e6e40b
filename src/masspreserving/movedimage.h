#pragma once

#include <glm/vec3.hpp>
#include <vector>

#include "containers/volume.h"
#include "numerics/parallel.h"
#include "numerics/rigidmotion.h"

namespace mirel {

/// Where the voxels of a resolution lie, in mm about the middle of the images' own grid.
struct GridPlace {
  glm::dvec3 voxelMm;
  glm::dvec3 firstMm;  ///< centre of voxel (0, 0, 0)

  glm::dvec3 positionMm(glm::dvec3 voxel) const { return firstMm + voxel * voxelMm; }
};

/// The place of a grid whose voxels are blocks of `factor` voxels of an original one.
GridPlace placeOf(glm::ivec3 originalVoxels, glm::dvec3 originalMm, glm::ivec3 factor);

/// An image that was acquired after the head moved. The head takes its field along, while phase
/// encoding keeps to the scanner's axis: what is at u in undistorted space appears at
/// T u + sign b(u) along y, with the density of its signal divided by the determinant of that
/// mapping.
class MovedImage {
 public:
  /// Cubic spline coefficients of `image`, which is continued constantly beyond its borders.
  /// Values that are not finite count as 0.
  /// `parallel` does the slices of all that follows.
  MovedImage(const Volume<float>& image, const GridPlace& place, Parallel parallel = {});

  /// Softens what `unmoved` makes along z, by the filter (s, 6 - 2 s, s) / 6 with s = `share`, from
  /// 0 (not at all) to 1: slices are boxes side by side, whose edges are aliased, and between
  /// slices no interpolation is true to them.
  void soften(double share);
  /// What the filter keeps of the variance of white noise: 1 to 1/2.
  static double noiseKept(double share);

  struct Unmoved {
    Volume<float> image;
    /// 1 where the image covers the place that the voxel was sampled at.
    Volume<unsigned char> covered;
  };

  /// The image that would have been acquired had the head stayed where it was: the one whose
  /// correction with sign b along y (see MassModel) is what the moved image's is through T and b.
  /// `b`: edges along y (nx, ny + 1, nz), in voxels, with |b_(j+1) - b_j| < 1; `sign`: 1 or -1.
  Unmoved unmoved(const RigidMotion& motion, const Volume<float>& b, double sign);

  /// The image's own values at T u, without any displacement; continued constantly.
  Volume<float> through(const RigidMotion& motion);

 private:
  void unmovedSlice(const RigidMotion& motion, const Volume<float>& b, double sign, int z,
                    Unmoved& result);
  void evaluate(std::vector<double>& spline, const std::vector<glm::dvec3>& voxels, float* values);

  Parallel parallel;
  glm::ivec3 size, padded;
  GridPlace place;
  std::vector<double> coefficients, softened;  // the latter empty: as the former
};

}  // namespace mirel
