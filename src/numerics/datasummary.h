#pragma once

#include <cstddef>
#include <cstdint>

namespace mirel {

/// Figures of a data set. Mean, standard deviation (population) and root mean square are formed
/// in double from the finite values; all are 0 when there are none.
struct DataSummary {
  std::uint64_t values = 0;
  std::uint64_t nonFinite = 0;
  double minimum = 0.0;
  double maximum = 0.0;
  double mean = 0.0;
  double standardDeviation = 0.0;
  double rootMeanSquare = 0.0;
};

/// Collects the figures in one pass over any number of pieces (Welford, 1962, Technometrics 4:
/// the running mean and sum of squared deviations, which do not cancel as a sum of squares does).
class DataSummaryBuilder {
 public:
  void add(const float* values, std::size_t count);
  DataSummary summary() const;

 private:
  DataSummary total;
  double squaredDeviations = 0.0;
};

}  // namespace mirel
