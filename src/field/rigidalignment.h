#pragma once

#include <vector>

#include "field/alignmentlevel.h"
#include "numerics/rigidmotion.h"

/// Where a head is in one image against where it is in another of another contrast.
namespace mirel {

/// How far a search for the motion reaches.
enum class AlignmentRange {
  wide,    ///< coarse to fine: motions of a centimetre and of ten degrees, and somewhat more
  nearby,  ///< at full resolution, from a motion that is right to about a millimetre
};

/// A motion that brings a head from its place in the reference to its place in an image.
struct AlignmentFit {
  RigidMotion motion;     ///< along and about x, y, z of the scanner, about RigidAligner::centreMm
  double nmi = 1;         ///< of the reference and the image with the motion, 1 .. 2
  double nmiUnmoved = 1;  ///< without it
  double covered = 0;     ///< part of the reference's head that lies in the image then
};

/// Finds the rigid motion between a reference and images of the same head by the normalised mutual
/// information of their values (C. Studholme, D. L. G. Hill, D. J. Hawkes, Pattern Recognition
/// 32:71, 1999), so that contrasts may differ as between spin and gradient echo.
///
/// Method  The reference is sampled in its head and a margin around it (comparedVoxels,
///         sampleReference). Both images are smoothed with Gaussians of 6, 3 and 1 mm; at each
///         width the measure of 32 x 32 shared bins (AlignmentMeasure) is made greatest by
///         maximumNear, from the motion of the width before.
/// Same calls give the same bits; nothing runs in threads.
class RigidAligner {
 public:
  /// Errors  Error, naming the reference, for an affine that is singular or not finite.
  explicit RigidAligner(const PlacedImage& reference);

  glm::dvec3 centreMm() const { return centre; }

  /// Whether the reference has enough places to compare, 1000 at full resolution.
  bool canCompare() const { return levels.back().samples.size() >= 1000; }

  /// The motion from the reference to `image`, looked for from `start` on.
  /// Errors  Error, naming the image, for an affine that is singular or not finite.
  AlignmentFit align(const PlacedImage& image, const RigidMotion& start,
                     AlignmentRange range) const;

  /// How well a motion is determined: the standard error of the places in the head in mm, root mean
  /// square over it, by the delete-a-group jackknife over the samples' groups (B. Efron, The
  /// Jackknife, the Bootstrap and Other Resampling Plans, SIAM 1982).
  double standardErrorMm(const PlacedImage& image, const RigidMotion& found) const;

  /// Whether `image` shows the head at all where a motion brings it: the measure (less 1) is more
  /// than twice that of every place 10 and 20 mm away along x, y and z. It is some three times that
  /// for heads whatever the contrast, and about the same everywhere in noise, which has a best
  /// place, too.
  bool showsHead(const PlacedImage& image, const RigidMotion& found) const;

  /// Root mean square over the head of the distance between where two motions bring it, in mm.
  double distanceMm(const RigidMotion& a, const RigidMotion& b) const;

 private:
  glm::dvec3 centre;
  std::vector<AlignmentLevel> levels;  ///< coarse to fine
};

}  // namespace mirel
