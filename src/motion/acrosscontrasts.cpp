#include "motion/acrosscontrasts.h"

#include <glm/matrix.hpp>

#include "field/foundmotion.h"
#include "field/movedcorrector.h"

namespace mirel {

namespace {

constexpr int rounds = 2;

glm::dmat4 matrixOf(const RigidMotion& motion, const glm::dvec3& centre) {
  glm::dmat4 m(motion.rotation());
  m[3] = glm::dvec4(motion.after(-centre) + centre, 1.0);
  return m;
}

}  // namespace

AcrossContrasts::AcrossContrasts(const Volume<float>& reference, const DistortedPlace& where,
                                 const std::string& series)
    : place(where),
      name(series),
      aligner({correctVolume(reference, where.shift, where.axis, Modulation::on), where.grid.affine,
               series}) {}

std::optional<glm::dmat4> AcrossContrasts::align(const Volume<float>& image,
                                                 const glm::dmat4& start) const {
  using Outcome = FoundMotion::Outcome;
  if (!aligner.canCompare()) return std::nullopt;
  const MovedCorrector corrector(place.shift, place.axis, Modulation::on);
  MovedCorrector::Scratch scratch;
  glm::dmat4 motion = start;
  for (int round = 0; round < rounds; ++round) {
    PlacedImage corrected{{}, place.grid.affine, name};
    corrector.correct(image, glm::inverse(place.grid.affine) * motion * place.grid.affine,
                      corrected.values, scratch);
    const AlignmentFit fit =
        aligner.align(corrected, {}, round == 0 ? AlignmentRange::wide : AlignmentRange::nearby);
    const FoundMotion found = judgedMotion(aligner, corrected, fit);
    if (found.outcome == Outcome::refused || !aligner.showsHead(corrected, fit.motion))
      return std::nullopt;
    if (found.outcome == Outcome::notMoved) break;
    motion = motion * matrixOf(fit.motion, aligner.centreMm());
  }
  return motion;
}

}  // namespace mirel
