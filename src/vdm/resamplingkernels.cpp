#include "vdm/resamplingkernels.h"

#include <cstddef>

namespace {

constexpr double sixth = 0.16666666666666666;

// Rows of zeros above and below a column of coefficients: the taps of a position between -2 and
// ny + 1 reach from row -3 to row ny + 2, and those of a neighbouring row one further.
constexpr int rowsAbove = 4, rowsBelow = 4;

// Columns whose coefficients are computed side by side, at most.
constexpr int splineColumns = 32;

// The factors of the tridiagonal system that yields the coefficients, per row.
struct SplineFactors {
  const double* d;
  const double* e;
};

// Rows of coefficients for one block of columns, rows of zeros around them.
struct SplineMemory {
  double* coefficients;
  SplineFactors factors;
};

}  // namespace

#define MIREL_KERNEL_SOURCE "vdm/resamplingkernels.inc.h"
#include "simd/kernelvariants.inc.h"

namespace mirel {

bool resampleSliceLinear(const ResamplingSlice& slice, SimdVariant variant) {
  return MIREL_DISPATCH(variant, resampleSliceLinear)(slice);
}

SplineResampling::SplineResampling(int ny, SimdVariant simdVariant)
    : variant(simdVariant),
      factors(ny),
      coefficients(static_cast<std::size_t>(ny + rowsAbove + rowsBelow) * splineColumns, 0.0) {}

void SplineResampling::resampleSlice(const ResamplingSlice& slice) {
  MIREL_DISPATCH(variant, resampleSliceSpline)
  (slice, {coefficients.data(), {factors.d.data(), factors.e.data()}});
}

}  // namespace mirel
