#pragma once

#include <functional>
#include <vector>

namespace mirel {

/// How a maximum is looked for.
struct MaximumSearch {
  double firstStep = 1;     ///< of each parameter
  double tolerance = 1e-3;  ///< the search ends with steps below this
  double farthest = 100;    ///< from the start, along each parameter
  int mostEvaluations = 1000;
};

/// Parameters near `start` at which `value` is largest, found without its derivatives by quadratic
/// models in a region of trust that shrinks (M. J. D. Powell, "The BOBYQA algorithm for bound
/// constrained optimization without derivatives", DAMTP 2009/NA06, Cambridge; as in NLopt). The
/// same call gives the same parameters.
///
/// `value` is finite; it may throw, which ends the search. At least two parameters.
/// Errors  std::logic_error for fewer; what `value` throws.
std::vector<double> maximumNear(const std::vector<double>& start,
                                const std::function<double(const std::vector<double>&)>& value,
                                const MaximumSearch& search);

}  // namespace mirel
