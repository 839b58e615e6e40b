#pragma once

#include <cstddef>
#include <vector>

#include "field/signcheck.h"

namespace mirel {

/// Bins 0 .. `count` - 1 of values, evenly between the 1st and the 99th percentile of some of them.
class ValueBins {
 public:
  static constexpr int count = 32;

  /// All values are one bin where the percentiles are the same, and where there are no values.
  explicit ValueBins(std::vector<float> values);
  /// Not limited to the bins that there are.
  double of(double value) const { return (value - low) * scale; }

 private:
  double low = 0, scale = 0;
};

/// An image smoothed with a Gaussian of this standard deviation, and of at least half a voxel along
/// each axis: narrower ones cannot be sampled. Voxels that are not finite count as 0, and an image
/// with values above 1e20 is divided by that, so that no sum leaves the range of floats.
Volume<float> smoothedBy(double sigmaMm, const PlacedImage& image);

/// A place of the reference that others are compared with.
struct AlignmentSample {
  static constexpr int groups = 6;

  glm::dvec3 mm;  ///< about the middle of the reference's grid
  double bin;     ///< of the smoothed reference's value there
  int group;      ///< sampleGroupAt
};

/// 0 .. AlignmentSample::groups - 1, of a place in mm: blocks of 20 mm are dealt out to groups at
/// random, so that each group is spread over the head while the errors of neighbours, which go
/// together, stay in one.
int sampleGroupAt(const glm::dvec3& mm);

/// Where the `number`th of a list of samples lies within its voxel: -0.5 .. 0.5 along each axis,
/// drawn at random, the same in every call.
glm::dvec3 placeInVoxel(std::size_t number);

/// A resolution of an alignment.
struct AlignmentLevel {
  double sigmaMm;      ///< that both images are smoothed with
  double stepMm;       ///< first step of the search, in mm and in degrees
  double toleranceMm;  ///< last one
  std::size_t wanted;  ///< samples, if there are as many voxels
  std::vector<AlignmentSample> samples = {};
};

/// Fills in the samples: of `voxels` as many as are wanted, evenly along the list, each at a place
/// within its voxel that is drawn at random (the same in every call): on the voxels themselves
/// interpolation, which blurs less there, would favour motions by whole voxels.
void sampleReference(const PlacedImage& reference, const std::vector<int>& voxels,
                     AlignmentLevel& level);

/// The middle of an image's grid in mm.
glm::dvec3 middleMm(const PlacedImage& image);

}  // namespace mirel
