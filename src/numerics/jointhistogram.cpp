#include "numerics/jointhistogram.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <stdexcept>

#include "numerics/interpolation.h"

namespace mirel {

namespace {

double entropy(std::span<const double> counts, double total) {
  double sum = 0;
  for (const double count : counts)
    if (count > 0) sum -= count / total * std::log(count / total);
  return sum;
}

}  // namespace

JointHistogram::JointHistogram(int binsPerImage) : bins(binsPerImage) {
  if (bins < 1) throw std::logic_error("a histogram has at least one bin");
  counts.resize(static_cast<std::size_t>(bins) * static_cast<std::size_t>(bins), 0.0);
}

void JointHistogram::clear() { std::fill(counts.begin(), counts.end(), 0.0); }

void JointHistogram::addShared(double a, double b) {
  const Between first = between(a, bins), second = between(b, bins);
  counts[cell(first.lower, second.lower)] += (1 - first.weight) * (1 - second.weight);
  counts[cell(first.lower, second.upper)] += (1 - first.weight) * second.weight;
  counts[cell(first.upper, second.lower)] += first.weight * (1 - second.weight);
  counts[cell(first.upper, second.upper)] += first.weight * second.weight;
}

double JointHistogram::normalisedMutualInformation() const {
  std::vector<double> first(static_cast<std::size_t>(bins), 0.0), second(first);
  double total = 0;
  for (int a = 0; a < bins; ++a)
    for (int b = 0; b < bins; ++b) {
      const double count = counts[cell(a, b)];
      first[static_cast<std::size_t>(a)] += count;
      second[static_cast<std::size_t>(b)] += count;
      total += count;
    }
  const double together = total > 0 ? entropy(counts, total) : 0;
  return together > 0 ? (entropy(first, total) + entropy(second, total)) / together : 1;
}

}  // namespace mirel
