#include "field/foundmotion.h"

#include <algorithm>
#include <glm/geometric.hpp>

#include "base/numbertext.h"
#include "nifti/orientation.h"

namespace mirel {

namespace {

// Twice the largest motion that is found of simulated heads that did not move (docs/accuracy.md).
constexpr double leastDisplacementVoxels = 1.0 / 16;
constexpr double leastStandardErrors = 4;
constexpr double largestStandardErrorMm = 1;
constexpr double leastCovered = 0.3;

// Why a motion cannot be that of the head; empty: it can.
std::string doubtAbout(const AlignmentFit& fit) {
  const double mm = glm::length(fit.motion.translationMm),
               degrees = turnedDegrees(fit.motion.rotation());
  if (mm > farthestHeadMm || degrees > farthestHeadDegrees)
    return "the head would have moved by " + text("%.0f", mm) + " mm and turned by " +
           counted("%.0f", degrees, "degree");
  if (fit.covered < leastCovered)
    return "only " + text("%.0f", 100 * fit.covered) + " % of the head would lie in the series";
  return {};
}

}  // namespace

FoundMotion judgedMotion(const RigidAligner& aligner, const PlacedImage& image,
                         const AlignmentFit& fit) {
  using Outcome = FoundMotion::Outcome;
  FoundMotion found;
  found.displacementMm = aligner.distanceMm(fit.motion, {});
  const glm::dvec3 edges = nifti::columnLengths(image.affine);
  if (found.displacementMm < leastDisplacementVoxels * std::max({edges.x, edges.y, edges.z}))
    return found;
  found.reason = doubtAbout(fit);
  if (found.reason.empty()) {
    const double error = aligner.standardErrorMm(image, fit.motion);
    found.standardErrorMm = error;
    if (error > largestStandardErrorMm)
      found.reason = "parts of the head tell different motions, by " + text("%.2g", error) + " mm";
    else if (found.displacementMm > leastStandardErrors * error)
      found.outcome = Outcome::moved;
  }
  if (!found.reason.empty()) found.outcome = Outcome::refused;
  return found;
}

}  // namespace mirel
