#include "field/maximum.h"

#include <nlopt.h>

#include <exception>
#include <memory>
#include <stdexcept>

namespace mirel {

namespace {

struct Asked {
  const std::function<double(const std::vector<double>&)>& value;
  nlopt_opt optimiser;
  std::vector<double> parameters;
  std::exception_ptr failure;
};

// No exception may pass through the library, which is written in C.
double ask(unsigned count, const double* parameters, double*, void* data) {
  Asked& asked = *static_cast<Asked*>(data);
  try {
    asked.parameters.assign(parameters, parameters + count);
    return asked.value(asked.parameters);
  } catch (...) {
    asked.failure = std::current_exception();
    nlopt_force_stop(asked.optimiser);
    return 0;
  }
}

}  // namespace

std::vector<double> maximumNear(const std::vector<double>& start,
                                const std::function<double(const std::vector<double>&)>& value,
                                const MaximumSearch& search) {
  if (start.size() < 2) throw std::logic_error("a search for a maximum has two parameters or more");
  const std::unique_ptr<nlopt_opt_s, decltype(&nlopt_destroy)> optimiser(
      nlopt_create(NLOPT_LN_BOBYQA, static_cast<unsigned>(start.size())), &nlopt_destroy);
  if (!optimiser) throw std::bad_alloc();
  Asked asked{value, optimiser.get(), start, nullptr};
  std::vector<double> low = start, high = start;
  for (double& each : low) each -= search.farthest;
  for (double& each : high) each += search.farthest;
  nlopt_set_lower_bounds(optimiser.get(), low.data());
  nlopt_set_upper_bounds(optimiser.get(), high.data());
  nlopt_set_initial_step1(optimiser.get(), search.firstStep);
  nlopt_set_xtol_abs1(optimiser.get(), search.tolerance);
  nlopt_set_maxeval(optimiser.get(), search.mostEvaluations);
  nlopt_set_max_objective(optimiser.get(), ask, &asked);
  std::vector<double> best = start;
  double greatest = 0;
  // A search that ends by rounding has found what there is: the best parameters stand all the same.
  nlopt_optimize(optimiser.get(), best.data(), &greatest);
  if (asked.failure) std::rethrow_exception(asked.failure);
  return best;
}

}  // namespace mirel
