#include "numerics/datasummary.h"

#include <algorithm>
#include <cmath>

namespace mirel {

void DataSummaryBuilder::add(const float* values, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const double value = static_cast<double>(values[i]);
    ++total.values;
    if (!std::isfinite(value)) {
      ++total.nonFinite;
      continue;
    }
    const std::uint64_t finite = total.values - total.nonFinite;
    total.minimum = finite == 1 ? value : std::min(total.minimum, value);
    total.maximum = finite == 1 ? value : std::max(total.maximum, value);
    const double deviation = value - total.mean;
    total.mean += deviation / static_cast<double>(finite);
    squaredDeviations += deviation * (value - total.mean);
  }
}

DataSummary DataSummaryBuilder::summary() const {
  DataSummary result = total;
  const std::uint64_t finite = total.values - total.nonFinite;
  if (finite == 0) return result;
  const double variance = squaredDeviations / static_cast<double>(finite);
  result.standardDeviation = std::sqrt(variance);
  result.rootMeanSquare = std::sqrt(variance + total.mean * total.mean);
  return result;
}

}  // namespace mirel
