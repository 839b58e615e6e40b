#pragma once

#include <glm/mat4x4.hpp>
#include <optional>

#include "field/corrector.h"
#include "numerics/rigidmotion.h"
#include "pair/pairinput.h"

namespace mirel {

/// Both images of a pair, corrected.
struct CorrectedPair {
  Volume<float> a, b;
};

/// How a pair's map corrects its images.
struct PairCorrection {
  const Volume<float>& shift;         ///< of the first image, applied forward
  std::optional<RigidMotion> motion;  ///< of the head, from the first image to the second
  Modulation modulation = Modulation::off;
  InterpolationKernel interpolation = InterpolationKernel::cubic;
};

/// From voxels of the first image to where the motion took their tissue, in voxels.
glm::dmat4 voxelMotion(const RigidMotion& motion, const nifti::Header& header);

/// Corrects the images of a pair, each in one interpolation: the first one along its axis
/// (correctVolume), the second one by its own map (mapOfSecond), in three dimensions where the head
/// moved, which brings it to the head's place in the first one (MovedCorrector).
CorrectedPair correctPairImages(const PairInput& pair, const PairCorrection& how);

}  // namespace mirel
