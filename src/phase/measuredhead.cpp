#include "phase/measuredhead.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "numerics/statistics.h"
#include "pair/foreground.h"
#include "phase/edgequality.h"
#include "phase/neighbours.h"
#include "picture/headmask.h"

namespace mirel {

namespace {

constexpr double voidPart = 0.25;
constexpr double mostReliable = 3;

Volume<float> finite(const Volume<float>& image) {
  Volume<float> result = image;
  std::replace_if(
      result.data(), result.data() + result.size(), [](float v) { return !std::isfinite(v); },
      0.0F);
  return result;
}

// 1 where a signal is not lost, 0 elsewhere.
MeasuredHead headOf(const Volume<float>& signal, double threshold) {
  MeasuredHead head{picture::headMask(signal), Volume<float>(signal.dimensions(), 0.0F)};
  for (int n = 0; n < signal.size(); ++n)
    if (head.inside.data()[n] > 0.0F && static_cast<double>(signal.data()[n]) > threshold)
      head.reliability.data()[n] = 1;
  return head;
}

}  // namespace

MeasuredHead headOfMagnitude(const Volume<float>& magnitude) {
  const Volume<float> signal = finite(magnitude);
  MeasuredHead head = headOf(signal, voidPart * headThreshold(signal));
  std::vector<float> known;
  for (int n = 0; n < signal.size(); ++n)
    if (head.reliability.data()[n] > 0.0F) known.push_back(signal.data()[n]);
  if (known.empty()) return head;
  const auto median = static_cast<double>(quantile(known, 0.5));
  for (int n = 0; n < signal.size(); ++n)
    if (head.reliability.data()[n] > 0.0F)
      head.reliability.data()[n] = static_cast<float>(
          std::min(mostReliable, static_cast<double>(signal.data()[n]) / median));
  return head;
}

MeasuredHead headOfPhase(const Volume<float>& radians) {
  const Volume<float> noMagnitude;
  const EdgeQuality quality(radians, noMagnitude);
  Volume<float> sum(radians.dimensions(), 0.0F);
  forEachRun(radians.dimensions(), 2, [&](int n, int step, int axis) {
    const glm::ivec3 dims = radians.dimensions();
    if (std::isnan(radians.data()[n]) || std::isnan(radians.data()[n + step])) return;
    const glm::ivec3 p(n % dims.x, n / dims.x % dims.y, n / (dims.x * dims.y));
    const auto good = static_cast<float>(quality.of(p, axis));
    sum.data()[n] += good;
    sum.data()[n + step] += good;
  });
  return headOf(sum, headThreshold(sum));
}

}  // namespace mirel
