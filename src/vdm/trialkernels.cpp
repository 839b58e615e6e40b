#include "vdm/trialkernels.h"

#include <cmath>

#define MIREL_KERNEL_SOURCE "vdm/trialkernels.inc.h"
#include "simd/kernelvariants.inc.h"

namespace mirel {

void resampleTrialRow(const TrialRow& row, SimdVariant variant) {
  MIREL_DISPATCH(variant, resampleTrialRow)(row);
}

void squareDifferences(const TrialPairs& trials, double* squares, SimdVariant variant) {
  MIREL_DISPATCH(variant, squareDifferences)(trials, squares);
}

void markForeground(const float* ap, const float* pa, float threshold, int nx,
                    unsigned char* foreground, SimdVariant variant) {
  MIREL_DISPATCH(variant, markForeground)(ap, pa, threshold, nx, foreground);
}

void searchRowSsd(const SearchRow& row, const SsdRows& rows, SimdVariant variant) {
  MIREL_DISPATCH(variant, searchRowSsd)(row, rows);
}

void searchRowNcc(const SearchRow& row, const NccRows& rows, SimdVariant variant) {
  MIREL_DISPATCH(variant, searchRowNcc)(row, rows);
}

}  // namespace mirel
