#include "masspreserving/headmotion.h"

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>

namespace mirel {

namespace {

constexpr double smallestShareOfVoxel = 1.0 / 20.0;
constexpr double significantChiSquare = 50.0;  // of five parameters
constexpr double leastVarianceRatio = 1.25;
constexpr double largeMotionMm = 1.5;
// A displacement across slices, in voxels, at which half of what softening can do is done.
constexpr double halfSoftened = 0.08;

}  // namespace

double softeningFor(const RigidMotion& motion, glm::ivec3 voxels, glm::dvec3 voxelMm) {
  const glm::dmat3 rotation = motion.rotation();
  const glm::dvec3 across(rotation[0][2], rotation[1][2], rotation[2][2] - 1.0);
  const glm::dvec3 turned = across * voxelMm * glm::dvec3(voxels);
  const double square =
      (motion.translationMm.z * motion.translationMm.z + glm::dot(turned, turned) / 12.0) /
      (voxelMm.z * voxelMm.z);
  return square / (square + halfSoftened * halfSoftened);
}

HeadMotion firstMotion(LevelFit& fit, const Volume<float>& first, const Volume<float>& second,
                       const GridPlace& place, double tolerance, int maxSolverIterations) {
  HeadMotion head;
  head.response.fill(Volume<float>(fit.displacement().dimensions(), 0.0F));
  const MotionStep step = fit.motionStep(HalfWayPair(first, second), head.motion, place,
                                         head.response, tolerance, maxSolverIterations);
  head.motion = head.motion.followedBy(translationOf(step.change), rotationOf(step.change));
  head.chiSquare = chiSquareOf(parametersOf(head.motion), step);
  return head;
}

MovingPair::MovingPair(MassModel<float>& ofImages, const Volume<float>& one,
                       const Volume<float>& other, const GridPlace& where)
    : model(ofImages),
      place(where),
      first(one, where, ofImages.inParallel()),
      second(other, where, ofImages.inParallel()) {}

const HalfWayPair& MovingPair::hold(const RigidMotion& motion, const Volume<float>& b) {
  const double softening = softeningFor(motion.half(), model.voxels(), place.voxelMm);
  ofWhiteNoise = MovedImage::noiseKept(softening);
  first.soften(softening);
  second.soften(softening);
  held.emplace(first, second, motion, b);
  model.replace(held->first, held->firstKnown, held->second, held->secondKnown);
  return *held;
}

MovingPair::Step MovingPair::step(LevelFit& fit, HeadMotion& head, double tolerance,
                                  int maxSolverIterations) {
  const MotionStep step =
      fit.motionStep(*held, head.motion, place, head.response, tolerance, maxSolverIterations);
  const glm::dvec3 translation = translationOf(step.change), rotation = rotationOf(step.change);
  head.motion = head.motion.followedBy(translation, rotation);
  head.chiSquare = chiSquareOf(parametersOf(head.motion), step);
  hold(head.motion, fit.displacement());
  const glm::dvec3 mm = place.voxelMm;
  const double largestMm =
      std::max(glm::length(translation), glm::length(place.firstMm) * glm::length(rotation));
  return {largestMm / std::min({mm.x, mm.y, mm.z}), step.solverIterations};
}

MotionEvidence::MotionEvidence(const Volume<float>& first, const Volume<float>& second,
                               const Volume<float>& b, const HeadMotion& head,
                               const GridPlace& place) {
  double total = 0.0, shifts = 0.0, squares = 0.0;
  const glm::dmat3 rotation = head.motion.rotation();
  glm::dvec3 translation = head.motion.translationMm;
  translation.y = 0.0;
  for (int z = 0; z < first.nz(); ++z)
    for (int y = 0; y < first.ny(); ++y)
      for (int x = 0; x < first.nx(); ++x) {
        const double signal = 0.5 * (static_cast<double>(first.at(x, y, z)) +
                                     static_cast<double>(second.at(x, y, z)));
        const double weight = signal * signal;
        const glm::dvec3 p = place.positionMm({x, y, z});
        const glm::dvec3 moved = rotation * p + translation - p;
        const double shift =
            0.5 * (static_cast<double>(b.at(x, y, z)) + static_cast<double>(b.at(x, y + 1, z)));
        total += weight;
        shifts += weight * shift;
        squares += weight * glm::dot(moved, moved);
      }
  chiSquare = head.chiSquare;
  if (!(total > 0.0)) return;
  displacementMm = std::sqrt(squares / total);
  meanShift = shifts / total;
}

bool MotionEvidence::isMotion(double shortestEdgeMm) const {
  return displacementMm >= smallestShareOfVoxel * shortestEdgeMm &&
         chiSquare >= significantChiSquare && varianceRatio >= leastVarianceRatio;
}

bool MotionEvidence::mayBeMotion(double shortestEdgeMm) const {
  return displacementMm >= 0.5 * smallestShareOfVoxel * shortestEdgeMm;
}

bool MotionEvidence::isLarge() const { return displacementMm >= largeMotionMm; }

}  // namespace mirel
