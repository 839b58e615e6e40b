#include "pair/correctedpair.h"

#include "field/movedcorrector.h"
#include "pair/readoutratio.h"

namespace mirel {

glm::dmat4 voxelMotion(const RigidMotion& motion, const nifti::Header& header) {
  const glm::dvec3 mm = projectVoxelSize(header);
  const glm::dvec3 middle = 0.5 * (glm::dvec3(header.dims) - 1.0);
  const glm::dmat3 rotation = motion.rotation();
  glm::dmat4 moved(1.0);
  for (int from = 0; from < 3; ++from)
    moved[from] = glm::dvec4(rotation[from] * mm[from] / mm, 0.0);
  moved[3] = glm::dvec4(motion.translationMm / mm + middle - glm::dmat3(moved) * middle, 1.0);
  return moved;
}

CorrectedPair correctPairImages(const PairInput& pair, const PairCorrection& how) {
  const int axis = pair.axis();
  const Volume<float> ofSecond = mapOfSecond(pair, how.shift);
  CorrectedPair corrected;
  corrected.a = correctVolume(pair.a.image, how.shift, axis, how.modulation, how.interpolation);
  if (!how.motion) {
    corrected.b = correctVolume(pair.b.image, ofSecond, axis, how.modulation, how.interpolation);
    return corrected;
  }
  MovedCorrector::Scratch scratch;
  MovedCorrector(ofSecond, axis, how.modulation, how.interpolation)
      .correct(pair.b.image, voxelMotion(*how.motion, pair.b.header), corrected.b, scratch);
  return corrected;
}

}  // namespace mirel
