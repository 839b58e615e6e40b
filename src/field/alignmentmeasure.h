#pragma once

#include "field/alignmentlevel.h"
#include "numerics/jointhistogram.h"
#include "numerics/rigidmotion.h"

namespace mirel {

/// How well a reference, sampled, and an image agree by their normalised mutual information, as a
/// function of the motion that brings the head from its place in the reference to that in the
/// image: a motion of mm along x, y, z of the scanner, about the middle of the reference's grid.
class AlignmentMeasure {
 public:
  /// @param atLevel  outlives the object
  /// @param start    the motion with which the range of the image's values is found
  /// Errors  Error, naming the image, for an affine that is singular or not finite.
  AlignmentMeasure(const AlignmentLevel& atLevel, glm::dvec3 middle, const PlacedImage& moving,
                   const RigidMotion& start);

  static constexpr int nobody = -1;

  /// Of the samples that lie in the image; 1 .. 2. Those of the group `leftOut` do not count.
  double at(const RigidMotion& motion, int leftOut = nobody);

  /// The part of the samples that lies in the image after a motion.
  double covered(const RigidMotion& motion) const;

  /// The motion near `start` with which it is greatest.
  RigidMotion best(const RigidMotion& start, int leftOut = nobody);

 private:
  template <typename Use>
  void forEachInside(const RigidMotion& motion, const Use& use) const;
  std::vector<float> valuesAt(const RigidMotion& motion) const;

  const AlignmentLevel& level;
  glm::dvec3 centre;
  glm::dmat4 toVoxel;  ///< from mm
  Volume<float> image;
  ValueBins bins;
  JointHistogram joint;
};

}  // namespace mirel
