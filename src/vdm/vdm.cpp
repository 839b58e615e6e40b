#include "vdm/vdm.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "numerics/volumegauss.h"

namespace mirel {

namespace {

constexpr float largestStep = 1.0f;  // voxels between y neighbours
constexpr float adjustment = 0.05f;

// Index of the first of n ascending values that is greater than t, n if there is none. Written
// out because std::upper_bound is not defined for values that do not ascend.
int upperBound(const float* values, int n, float t) {
  int first = 0;
  while (n > 0) {
    const int half = n / 2;
    if (t < values[first + half]) {
      n = half;
    } else {
      first += half + 1;
      n -= half + 1;
    }
  }
  return first;
}

// False where a value is NaN.
bool ascends(const std::vector<float>& values) {
  bool result = true;
  for (std::size_t i = 1; i < values.size(); ++i) result &= values[i] >= values[i - 1];
  return result;
}

// Where between the rows i - 1 and i, 0 < i < ny, the column is mapped to row t, relative to t.
float inverseAt(const std::vector<float>& mapped, std::size_t i, float t) {
  const float above = mapped[i], below = mapped[i - 1];
  return (((above - t) * static_cast<float>(i - 1) + (t - below) * static_cast<float>(i)) /
          (above - below)) -
         t;
}

// The rows of a column of the inverse, `stride` apart; rows that no pair encloses stay.
void invertBySearch(const std::vector<float>& mapped, float* column, std::ptrdiff_t stride) {
  const int ny = static_cast<int>(mapped.size());
  for (int row = 0; row < ny; ++row) {
    const float t = static_cast<float>(row);
    const int i = upperBound(mapped.data(), ny, t);
    if (i > 0 && i < ny) column[row * stride] = inverseAt(mapped, static_cast<std::size_t>(i), t);
  }
}

// The same for values that ascend, where the first greater one moves on with the row.
void invertAscending(const std::vector<float>& mapped, float* column, std::ptrdiff_t stride) {
  const std::size_t ny = mapped.size();
  std::size_t i = 0;
  for (std::size_t row = 0; row < ny; ++row) {
    const float t = static_cast<float>(row);
    while (i < ny && !(t < mapped[i])) ++i;
    if (i > 0 && i < ny) column[static_cast<int>(row) * stride] = inverseAt(mapped, i, t);
  }
}

// One scan of a column, whose values are `stride` apart; returns the adjustments made.
int scanColumn(float* column, int ny, std::ptrdiff_t stride) {
  int adjustments = 0;
  for (int y = 0; y + 1 < ny; ++y) {
    float& a = column[y * stride];
    float& b = column[(y + 1) * stride];
    if (!(std::abs(a - b) > largestStep)) continue;
    const float towardsB = a > b ? -adjustment : adjustment;
    const float newA = a + towardsB, newB = b - towardsB;
    if (newA == a && newB == b) continue;
    a = newA;
    b = newB;
    ++adjustments;
  }
  return adjustments;
}

bool columnEquals(const float* column, std::ptrdiff_t stride, const std::vector<float>& values) {
  for (std::size_t y = 0; y < values.size(); ++y) {
    const float v = column[static_cast<int>(y) * stride];
    if (v != values[y] && !(std::isnan(v) && std::isnan(values[y]))) return false;
  }
  return true;
}

// Scans until nothing is adjusted. Where values are so large that adjusting them has no effect,
// their neighbours can be pushed to and fro for ever: a column that comes back to an earlier
// state, remembered at every power of two (R. P. Brent, BIT 20:176, 1980), is left as it is.
int smoothColumn(float* column, int ny, std::ptrdiff_t stride) {
  std::vector<float> earlier;
  int total = 0;
  for (unsigned scan = 1;; ++scan) {
    const int adjustments = scanColumn(column, ny, stride);
    total += adjustments;
    if (adjustments == 0) return total;
    if (!earlier.empty() && columnEquals(column, stride, earlier)) return total;
    if ((scan & (scan - 1)) != 0) continue;
    earlier.resize(static_cast<std::size_t>(ny));
    for (int y = 0; y < ny; ++y) earlier[static_cast<std::size_t>(y)] = column[y * stride];
  }
}

}  // namespace

Volume<float> invertVDM(const Volume<float>& vdm) {
  Volume<float> inverse(vdm.dimensions(), 0.0f);
  if (vdm.size() == 0) return inverse;
  std::vector<float> mapped(static_cast<std::size_t>(vdm.ny()));
  for (int z = 0; z < vdm.nz(); ++z)
    for (int x = 0; x < vdm.nx(); ++x) {
      for (int y = 0; y < vdm.ny(); ++y)
        mapped[static_cast<std::size_t>(y)] = static_cast<float>(y) + vdm.at(x, y, z);
      float* column = &inverse.at(x, 0, z);
      if (ascends(mapped))
        invertAscending(mapped, column, vdm.nx());
      else
        invertBySearch(mapped, column, vdm.nx());
    }
  return inverse;
}

int nrOfErrorsInVDM(const Volume<float>& vdm) {
  int errors = 0;
  const int nx = vdm.nx();
  for (int z = 0; z < vdm.nz(); ++z)
    for (int y = 0; y + 1 < vdm.ny(); ++y) {
      const float* row = vdm.data() + vdm.index(0, y, z);
      for (int x = 0; x < nx; ++x) errors += std::abs(row[x + nx] - row[x]) > largestStep;
    }
  return errors;
}

int smoothErrors(Volume<float>& vdm) {
  if (vdm.size() == 0) return 0;  // no voxels to point at
  int adjustments = 0;
  for (int z = 0; z < vdm.nz(); ++z)
    for (int x = 0; x < vdm.nx(); ++x)
      adjustments += smoothColumn(vdm.data() + vdm.index(x, 0, z), vdm.ny(), vdm.nx());
  return adjustments;
}

int indexLowestAbsoluteValue(const std::vector<float>& values) {
  std::size_t lowest = 0;
  for (std::size_t i = 1; i < values.size(); ++i)
    if (std::abs(values[i]) < std::abs(values[lowest])) lowest = i;
  return static_cast<int>(lowest);
}

void correctIntensities(Volume<float>& apOut, Volume<float>& paOut, const Volume<float>& apIn,
                        const Volume<float>& paIn, const Volume<float>& vdm) {
  Volume<float> derivative = getSimpleYDerivative(invertVDM(vdm));
  Volume<float> density = -derivative;
  density += 1.0f;
  Volume<float> apWeight(apIn.dimensions());
  applyVdmYLinear(apWeight, density, vdm, /*reverse=*/false);
  apWeight *= apIn;
  derivative += 1.0f;
  Volume<float> paWeight(paIn.dimensions());
  applyVdmYLinearReverse(paWeight, derivative, vdm);
  paWeight *= paIn;
  apOut = std::move(apWeight);
  paOut = std::move(paWeight);
}

}  // namespace mirel
