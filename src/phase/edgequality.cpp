#include "phase/edgequality.h"

#include <algorithm>
#include <cmath>

#include "phase/angle.h"

namespace mirel {

namespace {

double softened(double weight) { return 0.1 + 0.9 * weight; }

bool isOn(glm::ivec3 p, glm::ivec3 dims) {
  return p.x >= 0 && p.y >= 0 && p.z >= 0 && p.x < dims.x && p.y < dims.y && p.z < dims.z;
}

}  // namespace

double EdgeQuality::linearity(glm::ivec3 before, glm::ivec3 at, glm::ivec3 behind) const {
  if (!isOn(before, phase.dimensions()) || !isOn(behind, phase.dimensions())) return 1;
  const auto angle = [this](glm::ivec3 p) { return static_cast<double>(phase[p]); };
  const double bend = wrapped(angle(before) - 2 * angle(at) + angle(behind));
  return std::isnan(bend) ? 1 : std::max(0.0, 1 - std::abs(bend) / 2);
}

double EdgeQuality::coherenceOfMagnitude(glm::ivec3 p, glm::ivec3 q) const {
  if (signal.size() == 0) return 1;
  const auto a = static_cast<double>(signal[p]), b = static_cast<double>(signal[q]);
  const double larger = std::max(a, b);
  if (!(larger > 0) || !std::isfinite(a + b)) return 0;
  const double ratio = std::max(0.0, std::min(a, b)) / larger;
  return ratio * ratio;
}

double EdgeQuality::of(glm::ivec3 p, int axis) const {
  glm::ivec3 step(0);
  step[axis] = 1;
  const glm::ivec3 q = p + step;
  const double difference = wrapped(static_cast<double>(phase[q]) - static_cast<double>(phase[p]));
  const double coherence = 1 - std::abs(difference) / (turn / 2);
  return softened(coherence) * softened(linearity(p - step, p, q) * linearity(p, q, q + step)) *
         softened(coherenceOfMagnitude(p, q));
}

}  // namespace mirel
