#include "vdm/columnfitkernels.h"

#include <cstddef>
#include <limits>
#include <vector>

#include "simd/aligned.h"

namespace {

constexpr int maximumSteps = 10;
constexpr double requiredImprovement = -0.01;  // percent
constexpr double largestDouble = std::numeric_limits<double>::max();

// Working memory of one block of columns: rows of laneCount elements.
struct ColumnScratch {
  float* columns[4];  // images and derivatives, zeros above and below
  float* difference;
  float* jacobian[2];
  const float* coordinate;  // of each row, from the middle
};

// Rows of zeros above and below a column: lanes read the rows -1 .. ny + 1, and one further.
constexpr int rowsAbove = 2, rowsBelow = 3;

}  // namespace

#define MIREL_KERNEL_SOURCE "vdm/columnfitkernels.inc.h"
#include "simd/kernelvariants.inc.h"

namespace mirel {

void fitColumns(const ColumnFitSlice& slice, SimdVariant variant) {
  constexpr int widest = 16;
  const std::size_t column = static_cast<std::size_t>(slice.ny + rowsAbove + rowsBelow) * widest;
  AlignedFloats memory(7 * column, 0.0f);
  const auto part = [&](std::size_t i) { return memory.data() + i * column; };
  std::vector<float> coordinate;
  for (int y = 0; y < slice.ny; ++y) coordinate.push_back(static_cast<float>(y - slice.ny * 0.5));
  const ColumnScratch scratch{
      {part(0), part(1), part(2), part(3)}, part(4), {part(5), part(6)}, coordinate.data()};
  MIREL_DISPATCH(variant, fitColumns)(slice, scratch);
}

}  // namespace mirel
