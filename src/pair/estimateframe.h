#pragma once

#include <glm/vec3.hpp>

#include "containers/volume.h"
#include "numerics/rigidmotion.h"
#include "pair/pairinput.h"

namespace mirel {

/// In which order an estimate sees the two axes without phase encoding.
enum class OtherAxes {
  asStored,  ///< the encoded axis and y have changed places
  /// The one that runs nearest to the patient's left-right axis first, or to the anterior-posterior
  /// one where that is encoded: a head gives the same numbers in whatever order its axes are
  /// stored.
  byPatient,
};

/// A pair as the estimators see it, with phase encoding along y. The pair outlives it.
class EstimateFrame {
 public:
  EstimateFrame(const PairInput& pair, int axis, OtherAxes others);

  const Volume<float>& first() const { return isAsStored() ? pair.a.image : turnedFirst; }
  const Volume<float>& second() const { return isAsStored() ? pair.b.image : turnedSecond; }
  glm::dvec3 voxelMm() const { return size; }

  /// A volume of the images' grid as the frame has it; one without voxels stays so.
  Volume<float> turned(const Volume<float>& image) const;

  /// A map or image of the frame in the order of the images' axes.
  Volume<float> back(Volume<float>&& volume) const;
  /// A motion in mm along and about the frame's axes along those of the images.
  RigidMotion back(const RigidMotion& motion) const;

 private:
  bool isAsStored() const { return axis == 1 && !exchangesOthers; }

  const PairInput& pair;
  int axis;
  bool exchangesOthers = false;  // x and z, after the encoded axis has become y
  Volume<float> turnedFirst, turnedSecond;
  glm::dvec3 size;
};

}  // namespace mirel
