#include "restore/contradiction.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace mirel {

namespace {

constexpr double beyondNoise = 1.6, signalPart = 0.01;
constexpr double steepness = 4;

// Each of n runs of `length` values, and its neighbours, in place.
void averageRuns(float* values, int n, int length, std::vector<float>& before) {
  before.assign(static_cast<std::size_t>(length), 0.0F);
  float* here = values;
  for (int k = 0; k < n; ++k, here += length) {
    const bool last = k + 1 == n;
    const float part = 1.0F / static_cast<float>(k == 0 || last ? 2 : 3);
    for (int i = 0; i < length; ++i) {
      const float own = here[i], after = last ? 0.0F : here[i + length];
      here[i] = (before[static_cast<std::size_t>(i)] + own + after) * part;
      before[static_cast<std::size_t>(i)] = own;
    }
  }
}

}  // namespace

void averageAround(const Volume<float>& image, Volume<float>& result) {
  result = image;
  const glm::ivec3 dims = image.dimensions();
  std::vector<float> before;
  int length = 1;
  for (int axis = 0; axis < 3; ++axis) {
    const int block = length * dims[axis];
    if (dims[axis] > 1)
      for (int start = 0; start < image.size(); start += block)
        averageRuns(result.data() + start, dims[axis], length, before);
    length = block;
  }
}

Contradiction::Contradiction(const Volume<float>& firstShift, const Volume<float>& secondShift,
                             int axis, const RestoreWeights& weights)
    : firstCorrector(firstShift, axis, Modulation::on),
      secondCorrector(secondShift, axis, Modulation::on),
      variance((weights.firstVariance + weights.secondVariance) / 2),
      head(weights.head) {}

std::int64_t Contradiction::replaceWithMean(const Volume<float>& first, const Volume<float>& second,
                                            const Volume<float>& misfit, Volume<float>& joined,
                                            Scratch& scratch) const {
  averageAround(misfit, scratch.around);
  firstCorrector.correct(first, scratch.first, scratch.corrector);
  secondCorrector.correct(second, scratch.second, scratch.corrector);
  std::int64_t replaced = 0;
  for (int n = 0; n < joined.size(); ++n) {
    const double mean = 0.5 * (static_cast<double>(scratch.first.data()[n]) +
                               static_cast<double>(scratch.second.data()[n]));
    const double besides = signalPart * mean;
    const double threshold = beyondNoise * (1 + besides * besides / variance);
    const double left = scratch.around.data()[n];
    if (!(left > threshold)) continue;
    const double part = std::pow(threshold / left, steepness);
    joined.data()[n] = static_cast<float>(part * joined.data()[n] + (1 - part) * mean);
    if (part < 0.5 && mean > head) ++replaced;
  }
  return replaced;
}

}  // namespace mirel
