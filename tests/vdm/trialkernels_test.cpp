#include "vdm/trialkernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "containers/volume.h"
#include "simd/eachvariant.h"
#include "support/random_volume.h"

namespace {

constexpr int taps = 5, rowCount = 6, amplitudeCount = 9;

// Windows side by side: padded rows of values, per amplitude.
template <typename T>
struct Rows {
  std::size_t stride;
  std::vector<T> values;
  std::vector<const T*> pointers;

  explicit Rows(int nx)
      : stride(static_cast<std::size_t>(nx + taps + trialBlock)),
        values(stride * rowCount * amplitudeCount, T(0)) {
    for (std::size_t r = 0; r < rowCount * amplitudeCount; ++r)
      pointers.push_back(values.data() + r * stride);
  }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;
  T& at(int amplitude, int row, int x) {
    return values[static_cast<std::size_t>(amplitude * rowCount + row) * stride +
                  static_cast<std::size_t>(x)];
  }
};

// The order of a window's values, another one for every amplitude.
std::vector<int> permutation(Random& random) {
  std::vector<int> order(taps * rowCount);
  for (int i = 0; i < taps * rowCount; ++i) order[static_cast<std::size_t>(i)] = i;
  for (int i = taps * rowCount - 1; i > 0; --i)
    std::swap(order[static_cast<std::size_t>(i)],
              order[static_cast<std::size_t>(random.below(i + 1))]);
  return order;
}

// The first amplitude of least cost per centre, window by window.
template <typename Cost>
std::vector<int> plainSearch(int nx, Cost cost) {
  std::vector<int> best;
  for (int x = 0; x < nx; ++x) {
    int choice = 0;
    for (int i = 1; i < amplitudeCount; ++i)
      if (cost(i, x) < cost(choice, x)) choice = i;
    best.push_back(choice);
  }
  return best;
}

template <typename Search>
void expectChoices(int nx, const std::vector<int>& wanted, Search search) {
  const std::vector<unsigned char> visited(static_cast<std::size_t>(nx), 1);
  for (const SimdVariant variant : supportedVariants()) {
    SCOPED_TRACE(nameOf(variant));
    std::vector<int> best(static_cast<std::size_t>(nx), -1);
    search({nx, taps, rowCount, amplitudeCount, visited.data(), best.data()}, variant);
    EXPECT_EQ(best, wanted);
  }
}

// The negated correlation of amplitude i's window at x: five sums in single precision.
auto correlationCost(Rows<float>& ap, Rows<float>& pa) {
  return [&](int i, int x) {
    float sa = 0, saa = 0, sb = 0, sbb = 0, sab = 0;
    for (int r = 0; r < rowCount; ++r)
      for (int dx = 0; dx < taps; ++dx) {
        const float a = ap.at(i, r, x + dx), b = pa.at(i, r, x + dx);
        sa += a;
        saa += a * a;
        sb += b;
        sbb += b * b;
        sab += a * b;
      }
    const float n = static_cast<float>(taps * rowCount);
    const float numerator = sab * n - sb * sa, va = saa * n - sa * sa, vb = sbb * n - sb * sb;
    return -(static_cast<double>(numerator) /
             (std::sqrt(static_cast<double>(vb)) * std::sqrt(static_cast<double>(va))));
  };
}

// All amplitudes have the same squares in another order: equal sums but for their rounding. A
// sum in any other order than row by row, x ascending, chooses otherwise somewhere.
TEST(TrialKernels, SsdChoicesFollowTheRoundingOfTheStatedOrder) {
  Random random(101);
  for (const int nx : {1, 7, 8, 16, 17, 33, 65}) {
    SCOPED_TRACE(nx);
    Rows<double> squares(nx);
    const auto magnitudes = [&] { return std::pow(2.0, random.uniform(0.0, 56.0)); };
    std::vector<std::vector<int>> orders;
    for (int i = 0; i < amplitudeCount; ++i) orders.push_back(permutation(random));
    // Windows at multiples of `taps` hold permutations; those between mix two.
    for (int start = 0; start < nx + taps; start += taps) {
      std::vector<double> values(taps * rowCount);
      std::generate(values.begin(), values.end(), magnitudes);
      for (int i = 0; i < amplitudeCount; ++i)
        for (int r = 0; r < rowCount; ++r)
          for (int dx = 0; dx < taps; ++dx)
            squares.at(i, r, start + dx) = values[static_cast<std::size_t>(
                orders[static_cast<std::size_t>(i)][static_cast<std::size_t>(r * taps + dx)])];
    }
    const auto cost = [&](int i, int x) {
      double sum = 0;
      for (int r = 0; r < rowCount; ++r)
        for (int dx = 0; dx < taps; ++dx) sum += squares.at(i, r, x + dx);
      return sum;
    };
    expectChoices(nx, plainSearch(nx, cost), [&](const SearchRow& row, SimdVariant variant) {
      searchRowSsd(row, {squares.pointers.data()}, variant);
    });
  }
}

// The same for the five single-precision sums of the correlation.
TEST(TrialKernels, NccChoicesFollowTheRoundingOfTheStatedOrder) {
  Random random(102);
  for (const int nx : {1, 7, 8, 16, 17, 33, 65}) {
    SCOPED_TRACE(nx);
    Rows<float> ap(nx), pa(nx);
    const std::vector<float> counts(static_cast<std::size_t>(nx + trialBlock),
                                    static_cast<float>(taps * rowCount));
    for (int start = 0; start < nx + taps; start += taps) {
      std::vector<float> a, b;
      for (int k = 0; k < taps * rowCount; ++k) {
        a.push_back(random.uniform(1.0f, 900.0f));
        b.push_back(a.back() * random.uniform(0.8f, 1.2f));
      }
      for (int i = 0; i < amplitudeCount; ++i) {
        const std::vector<int> order = permutation(random);
        for (int r = 0; r < rowCount; ++r)
          for (int dx = 0; dx < taps; ++dx) {
            const std::size_t k =
                static_cast<std::size_t>(order[static_cast<std::size_t>(r * taps + dx)]);
            ap.at(i, r, start + dx) = a[k];
            pa.at(i, r, start + dx) = b[k];
          }
      }
    }
    expectChoices(
        nx, plainSearch(nx, correlationCost(ap, pa)),
        [&](const SearchRow& row, SimdVariant variant) {
          searchRowNcc(row, {ap.pointers.data(), pa.pointers.data(), counts.data()}, variant);
        });
  }
}

// Multiples of the same small whole numbers correlate equally but for the rounding of roots,
// product and division.
TEST(TrialKernels, NccChoicesFollowTheRoundingOfRootsAndDivision) {
  Random random(103);
  constexpr int nx = 65;
  Rows<float> ap(nx), pa(nx);
  const std::vector<float> counts(nx + trialBlock, static_cast<float>(taps * rowCount));
  for (int r = 0; r < rowCount; ++r)
    for (int x = 0; x < nx + taps; ++x) {
      const float a = static_cast<float>(random.below(5)), b = static_cast<float>(random.below(5));
      for (int i = 0; i < amplitudeCount; ++i) {
        ap.at(i, r, x) = a * static_cast<float>(i + 1);
        pa.at(i, r, x) = b * static_cast<float>((3 * i) % 7 + 1);
      }
    }
  expectChoices(
      nx, plainSearch(nx, correlationCost(ap, pa)), [&](const SearchRow& row, SimdVariant variant) {
        searchRowNcc(row, {ap.pointers.data(), pa.pointers.data(), counts.data()}, variant);
      });
}

TEST(TrialKernels, CentresThatAreNotVisitedAreLeftAlone) {
  Rows<double> squares(40);
  std::vector<unsigned char> visited(40, 0);
  visited[33] = 1;
  for (const SimdVariant variant : supportedVariants()) {
    std::vector<int> best(40, -1), wanted(40, -1);
    wanted[33] = 0;
    searchRowSsd({40, taps, rowCount, amplitudeCount, visited.data(), best.data()},
                 {squares.pointers.data()}, variant);
    EXPECT_EQ(best, wanted) << nameOf(variant);
  }
}

// Both columns of a trial, by the definition; false where the position is not strictly inside.
bool plainTrial(const Volume<float>& image, int x, float position, float& value) {
  const int last = image.ny() - 1;
  if (!(position > 0 && position < static_cast<float>(last))) return false;
  const int row0 = static_cast<int>(position);
  const int row1 = std::min(static_cast<int>(position + 1.0f), last);
  const float fraction = position - static_cast<float>(row0);
  value = fraction * image.at(x, row1, 0) + (1 - fraction) * image.at(x, row0, 0);
  return true;
}

struct TrialRows {
  std::vector<float> values;
  std::vector<float*> rows;

  explicit TrialRows(int nx)
      : values(amplitudeCount * static_cast<std::size_t>(nx + trialBlock), -1.0f) {
    for (std::size_t i = 0; i < amplitudeCount; ++i)
      rows.push_back(values.data() + i * static_cast<std::size_t>(nx + trialBlock));
  }
};

void expectSameTrials(const Volume<float>& vdm, int y, int ny, const std::vector<float>& amplitudes,
                      Random& random) {
  const int nx = vdm.nx();
  const Volume<float> ap = random.volume({nx, ny, 1}, 0, 900);
  const Volume<float> pa = random.volume({nx, ny, 1}, 0, 900);
  for (const SimdVariant variant : supportedVariants()) {
    SCOPED_TRACE(nameOf(variant));
    TrialRows apTrials(nx), paTrials(nx);
    std::vector<unsigned char> allInside(static_cast<std::size_t>(nx), 77);
    resampleTrialRow({ap.data(), pa.data(), vdm.data(), y, nx, ny, amplitudes.data(),
                      amplitudeCount, apTrials.rows.data(), paTrials.rows.data(), allInside.data()},
                     variant);
    for (int x = 0; x < nx; ++x) {
      bool inside = true;
      for (std::size_t i = 0; i < amplitudeCount; ++i) {
        const float moved = amplitudes[i] + vdm.at(x, 0, 0), row = static_cast<float>(y);
        float value = 0;
        if (plainTrial(ap, x, row + moved, value))
          EXPECT_EQ(apTrials.rows[i][x], value);
        else
          inside = false;
        if (plainTrial(pa, x, row - moved, value))
          EXPECT_EQ(paTrials.rows[i][x], value);
        else
          inside = false;
      }
      EXPECT_EQ(allInside[static_cast<std::size_t>(x)], inside) << x;
    }
  }
}

// Lanes differ little or, with a large `reach`, much.
TEST(TrialKernels, ResampledRowsFollowTheDefinition) {
  Random random(104);
  for (const int nx : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 65})
    for (const int ny : {2, 3, 12, 40})
      for (const float reach : {0.3f, 6.0f, 30.0f}) {
        SCOPED_TRACE(testing::Message() << nx << " of " << ny << " rows, reach " << reach);
        for (int round = 0; round < 4; ++round) {
          std::vector<float> amplitudes;
          for (int i = 0; i < amplitudeCount; ++i)
            amplitudes.push_back(random.uniform(-2.0f, 2.0f));
          const Volume<float> vdm = random.volume({nx, 1, 1}, -reach, reach);
          expectSameTrials(vdm, random.below(ny), ny, amplitudes, random);
        }
      }
}

// Just below a whole number the row after the next one is read.
TEST(TrialKernels, PositionsJustBelowAWholeNumberAmongOthers) {
  Random random(105);
  for (int round = 0; round < 40; ++round) {
    const int y = 1 + round % 9;
    Volume<float> vdm(37, 1, 1);
    for (int x = 0; x < vdm.nx(); ++x) {
      const float whole = static_cast<float>(y + random.below(3) - 1);
      const float position = random.below(2) ? whole - 0.5f : std::nextafter(whole, -9.0f);
      vdm.at(x, 0, 0) = position - static_cast<float>(y);
    }
    expectSameTrials(vdm, y, 12, std::vector<float>(amplitudeCount, 0.0f), random);
  }
}

}  // namespace
