#include "vdm/resamplingkernels.h"

#include <cstddef>
#include <vector>

#include "numerics/bspline.h"

namespace {

constexpr double sixth = 0.16666666666666666;

// Rows of zeros above and below a column of coefficients: the taps of a position between -2 and
// ny + 1 reach from row -3 to row ny + 2.
constexpr int rowsAbove = 3, rowsBelow = 3;

// Working memory for the coefficients of one block of columns, and the factors of the
// tridiagonal system that yields them.
struct SplineScratch {
  double* coefficients;
  const double* d;
  const double* e;
};

}  // namespace

#define MIREL_KERNEL_SOURCE "vdm/resamplingkernels.inc.h"
#include "simd/kernelvariants.inc.h"

void resampleSliceLinear(const ResamplingSlice& slice, SimdVariant variant) {
  MIREL_DISPATCH(variant, resampleSliceLinear)(slice);
}

void resampleSliceSpline(const ResamplingSlice& slice, SimdVariant variant) {
  constexpr int widest = 16;
  const BSplineFactors factors(slice.ny);
  std::vector<double> coefficients(
      static_cast<std::size_t>(slice.ny + rowsAbove + rowsBelow) * widest, 0.0);
  MIREL_DISPATCH(variant, resampleSliceSpline)
  (slice, {coefficients.data(), factors.d.data(), factors.e.data()});
}
