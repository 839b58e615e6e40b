#include "vdm/trialkernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "containers/volume.h"
#include "simd/eachvariant.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

constexpr int taps = 5, rowCount = 6, amplitudeCount = 9;

// Windows side by side: padded rows of values, per amplitude.
struct Rows {
  std::size_t stride;
  std::vector<float> values;
  std::vector<const float*> pointers;  // at the first amplitude

  explicit Rows(int nx)
      : stride(static_cast<std::size_t>(nx + taps + trialBlock)),
        values(stride * rowCount * amplitudeCount, 0.0f) {
    for (std::size_t r = 0; r < rowCount; ++r)
      pointers.push_back(values.data() + r * amplitudeCount * stride);
  }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;
  float& at(int amplitude, int row, int x) {
    return values[static_cast<std::size_t>(row * amplitudeCount + amplitude) * stride +
                  static_cast<std::size_t>(x)];
  }
};

// Rows of squares: `count` amplitudes side by side. Those that pad them would win if looked at.
struct SquareRows {
  int count;
  std::size_t elements;
  std::vector<double> values;
  std::vector<const double*> pointers;

  SquareRows(int nx, int width, int amplitudes)
      : count(amplitudes),
        elements(static_cast<std::size_t>(nx + width + ssdBlock)),
        values(elements * rowCount * static_cast<std::size_t>(paddedAmplitudes(count)), 0.0) {
    for (int r = 0; r < rowCount; ++r) pointers.push_back(&at(0, r, 0));
  }
  SquareRows(const SquareRows&) = delete;
  SquareRows& operator=(const SquareRows&) = delete;
  double& at(int amplitude, int row, int x) {
    return values[(static_cast<std::size_t>(row) * elements + static_cast<std::size_t>(x)) *
                      static_cast<std::size_t>(paddedAmplitudes(count)) +
                  static_cast<std::size_t>(amplitude)];
  }
  double cost(int amplitude, int x, int width) {
    double sum = 0;
    for (int r = 0; r < rowCount; ++r)
      for (int dx = 0; dx < width; ++dx) sum += at(amplitude, r, x + dx);
    return sum;
  }
};

// The order of a window's values, another one for every amplitude.
std::vector<int> permutation(Random& random, int count = taps * rowCount) {
  std::vector<int> order(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) order[static_cast<std::size_t>(i)] = i;
  for (int i = count - 1; i > 0; --i)
    std::swap(order[static_cast<std::size_t>(i)],
              order[static_cast<std::size_t>(random.below(i + 1))]);
  return order;
}

// The first amplitude of least cost per centre, window by window.
template <typename Cost>
std::vector<int> plainSearch(int nx, Cost cost, int count = amplitudeCount) {
  std::vector<int> best;
  for (int x = 0; x < nx; ++x) {
    int choice = 0;
    for (int i = 1; i < count; ++i)
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
auto correlationCost(Rows& ap, Rows& pa) {
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

void expectSsdChoices(SquareRows& squares, int nx, int width) {
  const std::vector<int> wanted = plainSearch(
      nx, [&](int i, int x) { return squares.cost(i, x, width); }, squares.count);
  const std::vector<unsigned char> visited(static_cast<std::size_t>(nx), 1);
  for (const SimdVariant variant : supportedVariants()) {
    SCOPED_TRACE(nameOf(variant));
    std::vector<int> best(static_cast<std::size_t>(nx), -1);
    searchRowSsd({nx, width, rowCount, squares.count, visited.data(), best.data()},
                 {squares.pointers.data()}, variant);
    EXPECT_EQ(best, wanted);
  }
}

// All amplitudes have the same squares in another order: equal sums but for their rounding. A
// sum in any other order than row by row, x ascending, chooses otherwise somewhere.
void expectTheStatedOrder(int nx, int width, int count, Random& random) {
  SquareRows squares(nx, width, count);
  const int window = width * rowCount;
  std::vector<std::vector<int>> orders;
  for (int i = 0; i < count; ++i) orders.push_back(permutation(random, window));
  // Windows at multiples of `width` hold permutations; those between mix two.
  for (int start = 0; start < nx + width; start += width) {
    std::vector<double> values(static_cast<std::size_t>(window));
    for (double& value : values) value = std::pow(2.0, random.uniform(0.0, 56.0));
    for (int i = 0; i < count; ++i)
      for (int k = 0; k < window && start + k % width < nx + width; ++k)
        squares.at(i, k / width, start + k % width) = values[static_cast<std::size_t>(
            orders[static_cast<std::size_t>(i)][static_cast<std::size_t>(k)])];
  }
  expectSsdChoices(squares, nx, width);
}

TEST(TrialKernels, SsdChoicesFollowTheRoundingOfTheStatedOrder) {
  Random random(101);
  for (const int nx : {1, 7, 8, 16, 17, 33, 65})
    for (const int width : {1, 3, 5, 7, 9, 21})
      for (const int count : {1, 2, 3, 4, 5, 7, 8, 9, 11, 16, 17}) {
        SCOPED_TRACE(testing::Message() << nx << " centres, width " << width << ", " << count);
        expectTheStatedOrder(nx, width, count, random);
      }
}

// Few different values: costs are equal, infinite or not a number at many amplitudes.
TEST(TrialKernels, SsdChoicesAmongOddAndEqualCosts) {
  Random random(105);
  const double odd[] = {0.0, 1.0, 1e308, std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::quiet_NaN()};
  for (int round = 0; round < 200; ++round) {
    const int nx = 1 + random.below(40), width = 5 + 2 * random.below(2),
              count = 1 + random.below(12), kinds = 1 + random.below(5);
    SCOPED_TRACE(testing::Message() << "round " << round);
    SquareRows squares(nx, width, count);
    for (int x = 0; x < nx + width; ++x)
      for (int i = 0; i < count; ++i)
        for (int r = 0; r < rowCount; ++r)
          squares.at(i, r, x) = random.below(8) ? 1.0 : odd[random.below(kinds)];
    expectSsdChoices(squares, nx, width);
  }
}

TEST(TrialKernels, SquaresStandAmplitudeByAmplitude) {
  Random random(106);
  for (const int nx : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 33})
    for (const int count : {1, 2, 3, 4, 5, 7, 8, 9, 11, 17}) {
      SCOPED_TRACE(testing::Message() << nx << " elements, " << count << " amplitudes");
      const Volume<float> ap = random.volume({nx + trialBlock, count, 1}, -9, 9),
                          pa = random.volume({nx + trialBlock, count, 1}, -9, 9);
      std::vector<const float*> apRows, paRows;
      for (int i = 0; i < count; ++i) {
        apRows.push_back(&ap.at(0, i, 0));
        paRows.push_back(&pa.at(0, i, 0));
      }
      const int padded = paddedAmplitudes(count);
      for (const SimdVariant variant : supportedVariants()) {
        SCOPED_TRACE(nameOf(variant));
        std::vector<double> squares(static_cast<std::size_t>((nx + 1) * padded), -1.0);
        squareDifferences({apRows.data(), paRows.data(), count, nx}, squares.data(), variant);
        for (int x = 0; x < nx; ++x)
          for (int i = 0; i < count; ++i) {
            const double difference = ap.at(x, i, 0) - pa.at(x, i, 0);
            EXPECT_EQ(squares[static_cast<std::size_t>(x * padded + i)], difference * difference);
          }
        for (int i = 0; i < padded; ++i)
          EXPECT_EQ(squares[static_cast<std::size_t>(nx * padded + i)], -1.0) << "beyond the row";
      }
    }
}

// The same for the five single-precision sums of the correlation.
TEST(TrialKernels, NccChoicesFollowTheRoundingOfTheStatedOrder) {
  Random random(102);
  for (const int nx : {1, 7, 8, 16, 17, 33, 65}) {
    SCOPED_TRACE(nx);
    Rows ap(nx), pa(nx);
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
    expectChoices(nx, plainSearch(nx, correlationCost(ap, pa)),
                  [&](const SearchRow& row, SimdVariant variant) {
                    searchRowNcc(row,
                                 {ap.pointers.data(), pa.pointers.data(), ap.stride, counts.data()},
                                 variant);
                  });
  }
}

// Multiples of the same small whole numbers correlate equally but for the rounding of roots,
// product and division.
TEST(TrialKernels, NccChoicesFollowTheRoundingOfRootsAndDivision) {
  Random random(103);
  constexpr int nx = 65;
  Rows ap(nx), pa(nx);
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
        searchRowNcc(row, {ap.pointers.data(), pa.pointers.data(), ap.stride, counts.data()},
                     variant);
      });
}

TEST(TrialKernels, ForegroundIsAboveTheThresholdInEitherImage) {
  Random random(108);
  const float samples[] = {-100.0f, 100.0f, std::nextafter(100.0f, 200.0f), 1e30f,
                           std::numeric_limits<float>::quiet_NaN()};
  for (int nx = 1; nx < 70; ++nx) {
    std::vector<float> ap, pa;
    for (int x = 0; x < nx; ++x) {
      ap.push_back(samples[random.below(5)]);
      pa.push_back(samples[random.below(5)]);
    }
    for (const SimdVariant variant : supportedVariants()) {
      std::vector<unsigned char> marks(static_cast<std::size_t>(nx) + 1, 7);
      markForeground(ap.data(), pa.data(), 100.0f, nx, marks.data(), variant);
      for (std::size_t x = 0; x < ap.size(); ++x)
        EXPECT_EQ(marks[x], ap[x] > 100.0f || pa[x] > 100.0f ? 1 : 0) << nameOf(variant);
      EXPECT_EQ(marks.back(), 7) << "beyond the row";
    }
  }
}

// Centres visited anywhere in and across blocks; the others keep their choice.
template <typename Search>
void expectOnlyVisited(const std::vector<int>& choices, Random& random, Search search) {
  const int nx = static_cast<int>(choices.size());
  for (int round = 0; round < 40; ++round) {
    std::vector<unsigned char> visited(choices.size());
    const int rarity = 1 + random.below(12);
    for (unsigned char& v : visited) v = random.below(rarity) == 0;
    std::vector<int> wanted(choices.size(), -1);
    for (std::size_t x = 0; x < wanted.size(); ++x)
      if (visited[x]) wanted[x] = choices[x];
    for (const SimdVariant variant : supportedVariants()) {
      std::vector<int> best(choices.size(), -1);
      search({nx, taps, rowCount, amplitudeCount, visited.data(), best.data()}, variant);
      EXPECT_EQ(best, wanted) << nameOf(variant) << ", round " << round;
    }
  }
}

TEST(TrialKernels, CentresThatAreNotVisitedAreLeftAlone) {
  Random random(107);
  for (const int nx : {1, 9, 40, 67}) {
    SCOPED_TRACE(nx);
    SquareRows squares(nx, taps, amplitudeCount);
    Rows ap(nx), pa(nx);
    for (int x = 0; x < nx + taps; ++x)
      for (int r = 0; r < rowCount; ++r)
        for (int i = 0; i < amplitudeCount; ++i) {
          ap.at(i, r, x) = random.uniform(1.0f, 900.0f);
          pa.at(i, r, x) = random.uniform(1.0f, 900.0f);
          squares.at(i, r, x) = random.uniform(0.0f, 9.0f);
        }
    expectOnlyVisited(plainSearch(nx, [&](int i, int x) { return squares.cost(i, x, taps); }),
                      random, [&](const SearchRow& row, SimdVariant variant) {
                        searchRowSsd(row, {squares.pointers.data()}, variant);
                      });
    const std::vector<float> counts(static_cast<std::size_t>(nx + trialBlock),
                                    static_cast<float>(taps * rowCount));
    expectOnlyVisited(plainSearch(nx, correlationCost(ap, pa)), random,
                      [&](const SearchRow& row, SimdVariant variant) {
                        searchRowNcc(
                            row, {ap.pointers.data(), pa.pointers.data(), ap.stride, counts.data()},
                            variant);
                      });
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

}  // namespace mirel
