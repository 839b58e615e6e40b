#pragma once

#include <functional>
#include <glm/vec3.hpp>
#include <limits>

#include "containers/volume.h"
#include "masspreserving/ghost.h"
#include "numerics/parallel.h"
#include "numerics/rigidmotion.h"

namespace mirel {

/// What `estimateMassPreserving` does. The defaults are meant for every pair; nothing in them
/// depends on the images' intensities.
struct MassPreservingOptions {
  /// Estimate the intensity scale between the images; otherwise they are taken as they are.
  bool estimateScale = true;
  /// Estimate the head's motion between the images; otherwise there is none.
  bool estimateMotion = true;
  /// Let the intensity scale vary with place or contrast where that explains the images better.
  bool localRatio = true;
  /// Also find out how uncertain the displacement is.
  bool uncertainty = false;
  /// How much each voxel of the undistorted image counts, 0 or more, of the images' size; where the
  /// head moved, of the place half way between its two. Empty: all alike. Where nothing counts the
  /// map continues what is around.
  Volume<float> weights;
  /// Displacement in voxels to start from in place of the transport, of the images' size. Empty:
  /// there is none. The estimate is the same but for what the images leave open.
  Volume<float> start;
  /// Take the start for what is most likely, too: rough is how far the displacement is from it.
  bool startIsPrior = false;
  /// Gauss-Newton steps per resolution at most.
  int coarseIterations = 10;
  int finestIterations = 8;
  /// Does the parts of each step; empty: one after the other. The result is the same bits.
  Parallel parallel;
};

/// State after a Gauss-Newton step.
struct MassPreservingProgress {
  int level;  ///< resolution, levels - 1 (coarsest) to 0 (the images' own)
  int levels;
  int iteration;            ///< within the level, from 0
  double energy;            ///< in units of the noise
  double noiseSigma;        ///< per voxel of this level and image, as a fraction of the signal
  double noiseTails;        ///< nu of Student's t; infinite: normal
  double roughnessWeight;   ///< prior precision of the field's roughness
  double degreesOfFreedom;  ///< of the field that the data determine
  double largestStep;       ///< of this iteration in voxels of the level
  int solverIterations;
};

struct MassPreservingResult {
  /// b in voxels along y, at the voxels of the undistorted image.
  Volume<float> shiftVoxels;
  /// Standard deviation of b given the images, by the model, if that was asked for (see
  /// `posteriorVariance`); otherwise empty.
  Volume<float> deviationVoxels;
  /// Intensity of the first image over that of the second, g in I1 = g I2 after correction.
  double scale = 1.0;
  /// Whether that varies with place (shading) or with the intensity (contrast), and how far: the
  /// standard deviation of its logarithm in the signal.
  bool shading = false, contrast = false;
  double ratioSpread = 0.0;
  /// Of the squared signal, the part in places whose residuals stand far out of those elsewhere
  /// (PlaceTrust), which hardly count and where the map continues what is around them.
  double shareOut = 0.0;
  /// Nyquist ghosts that were taken off the images first; none where they were not.
  PairGhosts ghosts;
  /// Those that the air shows and that were left in, of an unknown phase: the head did not ask for
  /// taking them off.
  PairGhosts ghostsLeft;
  /// The head's motion from the first to the second image, in mm along the axes of the grid and
  /// about its middle; none if it was not estimated or is not significant. What of it runs along y
  /// is a convention (docs/mass-preserving.md).
  RigidMotion motion;
  /// Root mean square of the displacement, in the signal, that the estimated motion makes without
  /// its translation along y; and what speaks for it: chi^2 of its five parameters, and the
  /// residuals' variance at half the resolution without it over that with it. Also of a motion that
  /// was dismissed; the ratio is 1 where its first step was enough for that.
  double motionMm = 0.0, motionChiSquare = 0.0, motionVarianceRatio = 1.0;
  /// Standard deviation per voxel and image that the fit leaves, in the units of sqrt(I1 I2)
  /// (geometric mean of the two images' scales): noise and what the model does not explain.
  double noiseSigma = 0.0;
  /// The same as a fraction of the signal, the mean intensity weighted with itself.
  double noiseOfSignal = 0.0;
  /// nu of the Student's t distribution whose scale that is; infinite: normal, no outliers.
  double noiseTails = std::numeric_limits<double>::infinity();
  /// Prior precision that was chosen for the field's roughness, and the number of parameters of
  /// the field that the data determined against it.
  double roughnessWeight = 0.0;
  double degreesOfFreedom = 0.0;
  int iterations = 0;        ///< Gauss-Newton steps, all resolutions
  int solverIterations = 0;  ///< of the linear solver in them
};

/// Estimates the displacement between an image pair whose phase encoding runs in opposite
/// directions along y, conserving the signal:
///
///   first(y + b) (1 + b') = g second(y - b) (1 - b') = the undistorted image
///
/// So b, in voxels on the undistorted grid, is the map to be applied forward to `first` (sampled
/// at y + b) and in reverse to `second`. The undistorted image needs the factor 1 +- b' besides.
///
/// Method   Residuals of exactly conserved signal per voxel, squared and weighted by their noise,
///          plus the field's squared roughness in all three directions in mm, plus a barrier that
///          keeps |b'| < 1; coarse to fine by Gauss-Newton with preconditioned conjugate
///          gradients, from a column-wise optimal transport. The noise level, the strength of the
///          smoothness and g are estimated from the images (docs/mass-preserving.md).
/// Shapes   `first` and `second` alike (nx, ny, nz), any size; `voxelMm` the voxel's edges.
/// Motion   Rigid motion of the head between the images is estimated as well, where it is
/// significant.
///          b is then that of the head's place in `first`: `second` is to be sampled at T y - b
///          with the result's motion T (`secondUnmoved`).
/// Symmetry Exchanging the images negates b (where the head moved: up to the moves between its two
///          places); multiplying either by a positive factor leaves b.
/// Values   Those that are not finite count as 0. Empty, constant or unrelated images give a map
///          of zeros or of small values, never NaN. |b(y+1) - b(y)| < 1 everywhere.
/// Threads  Those of `options.parallel`; of its own none. The same input gives the same bits,
///          however many there are.
/// Progress Called after each step if given; what it throws ends the estimation.
/// Errors   std::invalid_argument if the sizes differ, those of the options too, or a voxel edge is
///          not a positive number.
MassPreservingResult estimateMassPreserving(
    const Volume<float>& first, const Volume<float>& second, const glm::dvec3& voxelMm,
    const MassPreservingOptions& options = {},
    const std::function<void(const MassPreservingProgress&)>& progress = {});

/// The second image as it would be had the head been where it was in the first: to be corrected
/// with the negated map like one without motion. Cubic spline interpolation; 0 where the image did
/// not reach. Without motion the image itself.
///
/// `shiftVoxels` is the result's map, `motion` its motion, `second` and `voxelMm` as for the
/// estimate. Errors   std::invalid_argument if the sizes differ.
Volume<float> secondUnmoved(const Volume<float>& second, const glm::dvec3& voxelMm,
                            const RigidMotion& motion, const Volume<float>& shiftVoxels,
                            const Parallel& parallel = {});

}  // namespace mirel
