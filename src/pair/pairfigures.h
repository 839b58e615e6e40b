#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <optional>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// What the model of distortion predicts of a pair of images of one head, measured. All are without
/// unit but for those that say so; the images are those less their background, with the head's
/// motion undone and the second one scaled to the first.
struct PairFigures {
  /// Distortion leaves the total of a column along the phase-encoding axis as it is: root mean
  /// square difference of the two images' totals over that of their mean, and what of it noise
  /// accounts for.
  double columnTotals = 0, columnTotalsOfNoise = 0;
  /// Corrected and modulated the two images are the same: root mean square difference in the head
  /// over that of their mean, and what of it noise accounts for.
  double residual = 0, residualOfNoise = 0;
  /// That difference beyond noise in each slice on its own, the slice's part of the squared
  /// differences of all, and the root mean square difference itself over that of the median slice;
  /// 0 in slices with hardly any of the head.
  std::vector<double> sliceResiduals, sliceShares, sliceMisfits;
  /// Slices of which one image has lost the signal: less than a quarter of the total that the other
  /// one has, where that is not next to nothing itself. Their figures above are those of what is
  /// head in either image, elsewhere of what is head in the mean.
  std::vector<int> slicesLostByFirst, slicesLostBySecond;
  int sliceAxis = 2;  ///< along which they are counted
  /// Root mean squares over the head, weighted with the squared signal: of the displacement in
  /// voxels, of its change along the axis (voxels per voxel), and of that across it (mm per mm).
  double shiftVoxels = 0, stretch = 0, shear = 0;
  /// The first one as a field in Hz, and the last one in Hz per mm, where there is a readout time.
  std::optional<double> fieldHz, fieldHzPerMm;
  /// The 1st and the 99th percentile of the displacement in the head, forward for the first image.
  double shiftLow = 0, shiftHigh = 0;
  /// By how much a field displaces, in Hz per voxel, likewise.
  std::optional<double> hzPerVoxel;

  /// What is left of both differences beyond noise.
  double unexplainedTotals() const;
  double unexplainedResidual() const;
};

/// What `measurePair` looks at. All volumes have the same dimensions.
struct PairToMeasure {
  const Volume<float>&first, &second;                    ///< distorted
  const Volume<float>&correctedFirst, &correctedSecond;  ///< with modulation
  const Volume<float>& shift;  ///< voxels along `axis`, forward for the first image
  int axis = 1;
  glm::dvec3 voxelMm{1.0};
  double intensityRatio = 1;  ///< of the first over the second
  double threshold = 0;       ///< of the first image, between head and air
  std::optional<double> readoutSeconds;
  /// How much each voxel of the corrected images counts, 0 to 1; null: all alike.
  const Volume<float>* weights = nullptr;
  int sliceAxis = 2;
  /// Of a head that moved: from voxels of the first image to where they lie in the second one as it
  /// came. What its slices did not reach does not count, unless that is half of the head.
  std::optional<glm::dmat4> toSecond = {};

  double weightOf(int voxel) const {
    return weights != nullptr ? static_cast<double>(weights->data()[voxel]) : 1.0;
  }
};

/// Measures the figures. With weights a column counts as the part of its corrected signal does that
/// they take. The noise's standard deviation is that of the Rayleigh distribution whose
/// lower quartiles, q50 - q25 = 0.4189 sigma, those of the air have (of what headThreshold leaves
/// below), whatever was added to it.
PairFigures measurePair(const PairToMeasure& pair);

}  // namespace mirel
