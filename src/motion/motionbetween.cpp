#include "motion/motionbetween.h"

#include <algorithm>
#include <glm/gtc/quaternion.hpp>

namespace mirel {

namespace {

glm::dmat4 between(const KnownMotion& a, const KnownMotion& b, int volume,
                   const glm::dvec3& middle) {
  if (a.motion == b.motion || volume <= a.volume) return a.motion;
  if (volume >= b.volume) return b.motion;
  const double part = static_cast<double>(volume - a.volume) / (b.volume - a.volume);
  const auto turnOf = [](const KnownMotion& one) { return glm::quat_cast(glm::dmat3(one.motion)); };
  const auto placeIn = [&](const KnownMotion& one) {
    return glm::dvec3(one.motion * glm::dvec4(middle, 1.0));
  };
  glm::dmat4 m = glm::mat4_cast(glm::slerp(turnOf(a), turnOf(b), part));
  m[3] = glm::dvec4(glm::mix(placeIn(a), placeIn(b), part) - glm::dmat3(m) * middle, 1.0);
  return m;
}

}  // namespace

std::vector<glm::dmat4> motionsBetween(int volumes, const std::vector<KnownMotion>& known,
                                       const glm::dvec3& middleMm) {
  std::vector<glm::dmat4> motions(static_cast<std::size_t>(volumes), glm::dmat4(1.0));
  if (known.empty()) return motions;
  for (int t = 0; t < volumes; ++t) {
    const auto after = std::find_if(known.begin(), known.end(),
                                    [t](const KnownMotion& one) { return one.volume >= t; });
    const KnownMotion& next = after == known.end() ? known.back() : *after;
    const KnownMotion& last = after == known.begin() ? next : *(after - 1);
    motions[static_cast<std::size_t>(t)] = between(last, next, t, middleMm);
  }
  return motions;
}

}  // namespace mirel
