#pragma once

#include <array>
#include <glm/mat4x4.hpp>
#include <string>
#include <vector>

#include "motion/motionsamples.h"
#include "motion/smoothcoefficients.h"

/// Where the head is in a volume against where it is in another one of the same contrast.
namespace mirel {

/// A motion that brings the head from its place in the reference to its place in a volume.
struct VolumeFit {
  glm::dmat4 motion{1.0};  ///< in mm of the scanner, as in SeriesMotion::fromReference
  bool converged = false;
  /// How well it is determined: the standard error of places in the head, root mean square over
  /// displacementMm's ball, by the delete-a-group jackknife over the samples' groups, with the
  /// slopes of the reference or of both images, whichever is larger.
  double standardErrorMm = 0;
  double correlation = 0;  ///< of the samples in both, with the motion; 0 where one is constant
  double covered = 0;      ///< part of the samples that lie in the volume then
};

/// Finds the rigid motion between volumes of one series by least squares of their intensities (K.
/// J. Friston et al., Human Brain Mapping 3:165, 1995), with the distortion in the model: with m
/// from places v of the undistorted head to where they are in a volume,
///
///   sum over v of (reference(v + shift(v) e) d(1) - a volume(m v + shift(v) e) d(m))^2
///
/// is made least, d(m) being MovedCorrector's density and `a` the best factor. Gauss-Newton with
/// the reference's slopes, each step made before the motion so far (S. Baker, I. Matthews, Int. J.
/// Computer Vision 56:221, 2004), first of images smoothed with Gaussians of 6 mm. Where that comes
/// to no end, again with the slopes of both images, each step halved until the sum falls.
/// Same calls give the same bits; nothing runs in threads, and threads may share an object.
class VolumeAligner {
 public:
  /// Memory of one worker, used again from volume to volume.
  struct Scratch {
    SmoothScratch spline;
    std::vector<double> x, y, z, values, densities;
    std::array<std::vector<double>, 3> slopes;
    std::vector<const MotionSample*> samples;
  };

  /// `reference` is a volume on the place's grid, without its background, all of it finite. The
  /// places compared are those of its head, undistorted, with a margin (comparedVoxels).
  /// Errors  Error, naming `name`, for an affine that is singular or not finite.
  VolumeAligner(const Volume<float>& reference, const DistortedPlace& where,
                const std::string& name);

  /// Whether the reference has enough places to compare, 1000 at full resolution.
  bool canCompare() const { return levels.back().samples.size() >= 1000; }

  /// Of a volume that is finite and without its background.
  VolumeFit align(const Volume<float>& image, Scratch& scratch) const;

 private:
  struct Motion;
  struct Equations;
  void collect(const MotionLevel& level, const Motion& motion, Scratch& scratch) const;
  Equations equationsOf(const MotionLevel& level, const Motion& motion, Scratch& scratch) const;
  Equations withSlopesOfBoth(Equations equations, const Motion& motion, Scratch& scratch) const;
  bool improve(const MotionLevel& level, Motion& motion, Scratch& scratch) const;
  bool improveCarefully(const MotionLevel& level, Motion& motion, Scratch& scratch) const;
  bool search(const Volume<float>& image, bool carefully, Motion& motion, Scratch& scratch) const;
  double standardErrorMm(const Equations& all) const;

  DistortedPlace place;
  MmToVoxels toVoxels;
  glm::dvec3 middleMm;
  std::vector<MotionLevel> levels;  ///< coarse to fine
};

}  // namespace mirel
