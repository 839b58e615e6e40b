#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

#include "reference/simplevdmestimate.h"
#include "reference/vectortransform.h"
#include "simd/eachvariant.h"
#include "support/compare.h"
#include "support/fftw_binding.h"
#include "support/random_volume.h"
#include "vdm/columnfitkernels.h"
#include "vdm/simplevdmestimate.h"

namespace mirel {

namespace {

const int rowLengths[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 65};

// The columns of one slice, and what is to be fitted: volumes with one slice.
struct Slice {
  Volume<float> ap, pa, apDerivative, paDerivative;
  std::vector<float> fitted, scale, shift;

  Slice(int nx, int ny, Random& random)
      : ap(random.volume({nx, ny, 1}, 50, 900)),
        pa(random.volume({nx, ny, 1}, 50, 900)),
        apDerivative(random.volume({nx, ny, 1}, -200, 200)),
        paDerivative(random.volume({nx, ny, 1}, -200, 200)),
        fitted(static_cast<std::size_t>(nx), 1.0f),
        scale(fitted),
        shift(fitted.size(), 0.0f) {
    for (std::size_t x = 0; x < fitted.size(); ++x) {
      fitted[x] = random.below(5) == 0 ? 0.0f : 1.0f;
      scale[x] = random.uniform(0.9f, 1.1f);
      shift[x] = random.uniform(-2.0f, 2.0f);
    }
  }
};

// Every column alone, by the plain reference.
Volume<float> fitPlainly(Slice& slice) {
  const int nx = slice.ap.nx(), ny = slice.ap.ny();
  Volume<float> vdm(nx, ny, 1, 77.0f);
  const Vector<float> q = reference::getCoordinateVector<float>(ny);
  for (int x = 0; x < nx; ++x) {
    const std::size_t i = static_cast<std::size_t>(x);
    if (slice.fitted[i] == 0) continue;
    const reference::Fit fit =
        reference::fitColumn({reference::getColumnFromVolume(slice.ap, x, 0),
                              reference::getColumnFromVolume(slice.pa, x, 0),
                              reference::getColumnFromVolume(slice.apDerivative, x, 0),
                              reference::getColumnFromVolume(slice.paDerivative, x, 0), q},
                             {slice.scale[i], slice.shift[i]});
    slice.scale[i] = fit.a;
    slice.shift[i] = fit.b;
    reference::putColumnInVolume((reference::transformCoordinateVector(q, fit.a, fit.b) -
                                  reference::transformCoordinateVector(q, 1 / fit.a, -fit.b)) /
                                     2.0f,
                                 vdm, x, 0);
  }
  return vdm;
}

void expectSame(const Slice& slice) {
  Slice plain = slice;
  const Volume<float> wanted = fitPlainly(plain);
  for (const SimdVariant variant : supportedVariants()) {
    SCOPED_TRACE(nameOf(variant));
    Slice fast = slice;
    Volume<float> vdm(slice.ap.dimensions(), 77.0f);
    fitColumns(
        {fast.ap.data(), fast.pa.data(), fast.apDerivative.data(), fast.paDerivative.data(),
         vdm.nx(), vdm.ny(), fast.fitted.data(), fast.scale.data(), fast.shift.data(), vdm.data()},
        variant);
    EXPECT_TRUE(compare::same(fast.scale, plain.scale)) << "scales";
    EXPECT_TRUE(compare::same(fast.shift, plain.shift)) << "shifts";
    EXPECT_TRUE(compare::same(vdm, wanted)) << "maps";
  }
}

TEST(ColumnFits, EveryRowLengthFitsLikeItsColumnsAlone) {
  Random random(51);
  for (const int nx : rowLengths)
    for (const int ny : {1, 2, 3, 4, 9, 24, 33}) {
      SCOPED_TRACE(testing::Message() << nx << " columns of " << ny);
      expectSame(Slice(nx, ny, random));
    }
}

// Smooth columns converge at different steps, so that lanes stop while others go on.
TEST(ColumnFits, ColumnsThatStopAtDifferentSteps) {
  Random random(52);
  for (int round = 0; round < 10; ++round) {
    Slice slice(33, 30, random);
    for (int x = 0; x < 33; ++x) {
      const float width = random.uniform(2.0f, 8.0f), gap = random.uniform(0.0f, 6.0f);
      for (int y = 0; y < 30; ++y) {
        const float a = (static_cast<float>(y) - 14 + gap / 2) / width;
        const float p = (static_cast<float>(y) - 14 - gap / 2) / width;
        slice.ap.at(x, y, 0) = 800 * std::exp(-a * a / 2);
        slice.pa.at(x, y, 0) = 800 * std::exp(-p * p / 2);
        slice.apDerivative.at(x, y, 0) = -slice.ap.at(x, y, 0) * a / width;
        slice.paDerivative.at(x, y, 0) = -slice.pa.at(x, y, 0) * p / width;
      }
    }
    expectSame(slice);
  }
}

TEST(ColumnFits, StartsFarOutsideTheImageAndSingularScales) {
  Random random(53);
  const float inf = std::numeric_limits<float>::infinity();
  for (const float a : {1.0f, 0.0f, -0.0f, -1.0f, 1e-30f, 1e30f, inf, std::nanf("")})
    for (const float b : {0.0f, 0.5f, -17.0f, 1e9f, 3e38f, -inf, std::nanf("")}) {
      SCOPED_TRACE(testing::Message() << "a " << a << " b " << b);
      Slice slice(18, 12, random);
      for (std::size_t x = 0; x < 18; x += 2) {
        slice.scale[x] = a;
        slice.shift[x] = b;
      }
      expectSame(slice);
    }
}

TEST(ColumnFits, OddValuesStayInTheirColumn) {
  Random random(54);
  for (int round = 0; round < 12; ++round) {
    Slice slice(19, 11, random);
    if (round % 2) sprinkleOddValues(slice.ap, random);
    if (round % 3 == 0) sprinkleOddValues(slice.pa, random);
    if (round % 4 < 2) sprinkleOddValues(slice.apDerivative, random);
    expectSame(slice);
  }
}

// No derivative, no step: the normal equations are singular. Zeros are background.
TEST(ColumnFits, ConstantAndZeroColumns) {
  Random random(55);
  for (const float value : {500.0f, 0.0f}) {
    Slice slice(17, 10, random);
    slice.ap.setAll(value);
    slice.pa.setAll(value);
    expectSame(slice);
    slice.apDerivative.setAll(0);
    slice.paDerivative.setAll(0);
    expectSame(slice);
  }
}

TEST(ColumnFits, ColumnsThatAreNotFittedKeepEverything) {
  Random random(56);
  Slice slice(40, 8, random);
  slice.fitted.assign(40, 0.0f);
  expectSame(slice);
  slice.fitted[37] = 1.0f;
  expectSame(slice);
}

// Where both columns are the same a step is 0, of either sign, and what a fit starts from stays:
// a zero of either sign, and shifts so small that halving rounds them.
TEST(ColumnFits, IdenticalColumnsKeepTheSmallestShifts) {
  Random random(58);
  const float smallest = std::numeric_limits<float>::denorm_min();
  for (const int ny : {2, 3, 4, 6, 11})
    for (const float shift : {0.0f, -0.0f, smallest, -smallest, 3 * smallest}) {
      SCOPED_TRACE(testing::Message() << ny << " rows, shift " << shift);
      Slice slice(33, ny, random);
      slice.pa = slice.ap;
      slice.scale.assign(33, 1.0f);
      slice.shift.assign(33, shift);
      expectSame(slice);
    }
}

// Positions of exactly -1 and ny, which weigh the border row by 0: 0 times infinity is not 0.
TEST(ColumnFits, WholeShiftsReadInfinitiesOfTheBorderRows) {
  Random random(59);
  const float inf = std::numeric_limits<float>::infinity();
  for (const int ny : {8, 9})
    for (const float shift : {-2.0f, -1.0f, 1.0f, 2.0f})
      for (const float odd : {inf, -inf, std::nanf("")})
        for (const int row : {0, ny - 1})
          for (const bool inDerivative : {false, true}) {
            SCOPED_TRACE(testing::Message() << ny << " rows, shift " << shift << ", row " << row);
            Slice slice(18, ny, random);
            slice.scale.assign(18, 1.0f);
            slice.shift.assign(18, shift);
            Volume<float>& image = inDerivative ? slice.paDerivative : slice.ap;
            for (int x = 0; x < 18; x += 3) image.at(x, row, 0) = odd;
            expectSame(slice);
          }
}

// Just below ny a position plus 2 rounds up: the rows around it then lie past the last one.
TEST(ColumnFits, PositionsJustBelowTheRowCount) {
  Random random(60);
  for (const int ny : {31, 62, 63, 127}) {
    const float top = static_cast<float>(ny);
    for (const float position : {std::nextafter(top, 0.0f), top, std::nextafter(top, 2 * top)})
      for (const float sign : {1.0f, -1.0f}) {
        SCOPED_TRACE(testing::Message() << ny << " rows, sign " << sign);
        Slice slice(33, ny, random);
        slice.scale.assign(33, 1.0f);
        slice.shift.assign(33, sign * (position - static_cast<float>(ny - 1)));
        expectSame(slice);
      }
  }
}

// The whole estimate, with its log.
void expectSameEstimate(const Volume<float>& ap, const Volume<float>& pa, glm::dvec3 sigma) {
  bindFftw();
  std::ostringstream wantedLog;
  const Volume<float> wanted = reference::simpleVDMestimate(ap, pa, sigma, wantedLog);
  forEachVariant([&](SimdVariant) {
    std::ostringstream log;
    EXPECT_TRUE(compare::same(simpleVDMestimate(ap, pa, sigma, log), wanted));
    EXPECT_EQ(log.str(), wantedLog.str());
  });
}

TEST(ColumnwiseEstimate, EqualsThePlainReferenceForEverySize) {
  unsigned seed = 60;
  for (const glm::ivec3 dims : testSizes()) {
    SCOPED_TRACE(testing::Message() << dims.x << "x" << dims.y << "x" << dims.z);
    ++seed;
    expectSameEstimate(blobs(dims, seed, 0.8f), blobs(dims, seed, -0.8f), {0.5, 1.5, 0.5});
  }
}

TEST(ColumnwiseEstimate, EqualsThePlainReferenceForEveryRowLength) {
  unsigned seed = 80;
  for (const int nx : rowLengths) {
    SCOPED_TRACE(testing::Message() << "rows of " << nx);
    ++seed;
    expectSameEstimate(blobs({nx, 20, 2}, seed, 0.8f), blobs({nx, 20, 2}, seed, -0.8f),
                       {0.5, 1.5, 0.5});
  }
}

TEST(ColumnwiseEstimate, NoiseConstantsAndValuesThatAreNotFinite) {
  Random random(57);
  const glm::ivec3 dims(18, 15, 7);
  const glm::dvec3 sigma(0.5, 1.5, 0.5);
  expectSameEstimate(random.volume(dims, 0, 400), random.volume(dims, 0, 400), sigma);
  expectSameEstimate(Volume<float>(dims, 300.0f), Volume<float>(dims, 200.0f), sigma);
  Volume<float> odd = random.volume(dims, 0, 400);
  sprinkleOddValues(odd, random);
  expectSameEstimate(odd, random.volume(dims, 0, 400), sigma);
}

}  // namespace

}  // namespace mirel
