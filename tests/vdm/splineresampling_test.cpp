#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <limits>

#include "files/rawdata.h"
#include "reference/bspline.h"
#include "reference/vdm.h"
#include "simd/eachvariant.h"
#include "support/compare.h"
#include "support/random_volume.h"
#include "vdm/realdata.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

// At whole x and z the tensor spline is, in exact arithmetic, the spline of the column alone. The
// engine evaluates that one; these tests hold it against both.

// Position of a float among all floats in ascending order; neighbours differ by 1.
std::int64_t ordinal(float v) {
  std::int32_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  return bits >= 0 ? bits : -static_cast<std::int64_t>(bits & 0x7fffffff);
}

float largestMagnitude(const Volume<float>& image) {
  float largest = 0;
  for (int i = 0; i < image.size(); ++i) largest = std::max(largest, std::abs(image.data()[i]));
  return largest;
}

// Both splines are rounded in double. Solving for the coefficients enlarges an error by at most
// 1 / (4/6 - 2/6) = 3 per axis, and some 40 roundings lie on the way to a value; where bright
// neighbours cancel to (almost) nothing, this is what is left, of no more meaning in one than in
// the other.
constexpr double doubleNoise = 40 * 27 * 0.5 * std::numeric_limits<double>::epsilon();

struct SplineDifferences {
  long voxels = 0, differing = 0, byOneUnit = 0, noise = 0, larger = 0, differing16Bit = 0;
  double largestNoise = 0;  // of the image's largest magnitude

  void add(const Volume<float>& got, const Volume<float>& wanted, const Volume<float>& image) {
    const std::size_t n = static_cast<std::size_t>(got.size());
    std::vector<std::int16_t> got16(n), wanted16(n);
    wrapToInt16(got.data(), got16.data(), n);
    wrapToInt16(wanted.data(), wanted16.data(), n);
    voxels += got.size();
    const double scale = largestMagnitude(image);
    for (std::size_t i = 0; i < n; ++i) {
      differing16Bit += got16[i] != wanted16[i];
      addFloats(got.data()[i], wanted.data()[i], scale);
    }
  }

  void addFloats(float a, float b, double scale) {
    if (a == b) return;
    ++differing;
    const double difference = std::abs(static_cast<double>(a) - static_cast<double>(b));
    if (std::llabs(ordinal(a) - ordinal(b)) <= 1) {
      ++byOneUnit;
    } else if (difference <= doubleNoise * scale) {
      ++noise;
      largestNoise = std::max(largestNoise, difference / scale);
    } else {
      ++larger;
    }
  }
};

std::ostream& operator<<(std::ostream& os, const SplineDifferences& d) {
  return os << d.differing << " of " << d.voxels << " floats differ: " << d.byOneUnit
            << " by one unit in the last place, " << d.noise
            << " where values cancel to rounding noise (at most " << d.largestNoise
            << " of the image's largest magnitude), " << d.larger << " by more; "
            << d.differing16Bit << " 16-bit samples differ";
}

void expectSplinesAgree(const SplineDifferences& differences) {
  EXPECT_EQ(differences.larger, 0) << differences;
  EXPECT_EQ(differences.differing16Bit, 0) << differences;
}

void compareSplines(const Volume<float>& image, const Volume<float>& vdm,
                    SplineDifferences& differences) {
  for (const bool reverse : {false, true}) {
    Volume<float> wanted(image.dimensions()), got(image.dimensions());
    reference::applyVdmYSpline(wanted, image, vdm, reverse);
    applyVdmYSpline(got, image, vdm, reverse);
    differences.add(got, wanted, image);
  }
}

TEST(SplineResampling, AgreesWithTheTensorSplineOnRandomData) {
  Random random(76);
  SplineDifferences dense, sparse;
  for (const glm::ivec3 dims : testSizes()) {
    if (dims.x < 2 || dims.y < 2 || dims.z < 2) continue;
    for (const float reach : {0.0f, 0.4f, 3.0f, 60.0f}) {
      const Volume<float> vdm = random.volume(dims, -reach, reach);
      compareSplines(random.volume(dims, 0, 2000), vdm, dense);
      Volume<float> mostlyZero = random.volume(dims, -30000, 30000);
      for (int i = 0; i < mostlyZero.size(); ++i)
        if (random.below(8)) mostlyZero.data()[i] = 0;
      compareSplines(mostlyZero, vdm, sparse);
    }
  }
  expectSplinesAgree(dense);
  expectSplinesAgree(sparse);
  std::cout << "dense: " << dense << "\nmostly zero: " << sparse << "\n";
}

TEST(SplineResampling, AgreesWithTheTensorSplineOnRealData) {
  Random random(77);
  bool found = false;
  for (const char* name : realPairs)
    if (const auto pair = readRealPair(name)) {
      found = true;
      const glm::ivec3 dims = pair->ap.dimensions();
      SplineDifferences still, shifted;
      compareSplines(pair->ap, Volume<float>(dims, 0.0f), still);
      compareSplines(pair->ap, random.volume(dims, -3, 3), shifted);
      compareSplines(pair->pa, random.volume(dims, -0.5f, 0.5f), shifted);
      expectSplinesAgree(still);
      expectSplinesAgree(shifted);
      std::cout << name << ", no displacement: " << still << "\n"
                << name << ", displaced: " << shifted << "\n";
    }
  if (!found) GTEST_SKIP() << "no real data";
}

// The spline of every column alone, in the plain reference's arithmetic.
Volume<float> columnSplines(const Volume<float>& image, const Volume<float>& vdm, bool reverse) {
  Volume<float> result(image.dimensions());
  const int ny = image.ny();
  const std::size_t n = static_cast<std::size_t>(ny);
  std::vector<double> column(n), coefficients(n), positions(n), values(n);
  for (int z = 0; z < image.nz(); ++z)
    for (int x = 0; x < image.nx(); ++x) {
      for (int y = 0; y < ny; ++y) {
        const float shift = reverse ? -vdm.at(x, y, z) : vdm.at(x, y, z);
        column[static_cast<std::size_t>(y)] = image.at(x, y, z);
        positions[static_cast<std::size_t>(y)] = shift + static_cast<float>(y);
      }
      reference::computeBSplineCoeff1D(column.data(), ny, coefficients.data());
      reference::evalBSpline1D(coefficients.data(), ny, positions.data(), ny, values.data());
      for (int y = 0; y < ny; ++y)
        result.at(x, y, z) = static_cast<float>(values[static_cast<std::size_t>(y)]);
    }
  return result;
}

void expectColumnSplines(const Volume<float>& image, const Volume<float>& vdm) {
  for (const bool reverse : {false, true}) {
    SCOPED_TRACE(reverse ? "reverse" : "forward");
    const Volume<float> wanted = columnSplines(image, vdm, reverse);
    forEachVariant([&](SimdVariant) {
      Volume<float> got(image.dimensions(), -77.0f);
      applyVdmYSpline(got, image, vdm, reverse);
      EXPECT_TRUE(compare::same(got, wanted));
    });
  }
}

TEST(SplineResampling, EqualsTheColumnSplinesToTheBit) {
  Random random(78);
  std::vector<glm::ivec3> sizes = testSizes();
  for (const int nx : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 65})
    sizes.emplace_back(nx, 9, 2);
  for (const glm::ivec3 dims : sizes) {
    if (dims.y < 2) continue;
    for (const float reach : {0.4f, 3.0f, 60.0f}) {
      SCOPED_TRACE(testing::Message()
                   << dims.x << "x" << dims.y << "x" << dims.z << " reach " << reach);
      expectColumnSplines(random.volume(dims, -500, 900), random.volume(dims, -reach, reach));
    }
  }
}

// Columns that are neighbours mostly read rows that are neighbours: from a map that is level to
// one so steep that every column reads rows of its own, rising and falling.
TEST(SplineResampling, MapsOfEverySteepness) {
  Random random(88);
  const glm::ivec3 dims(45, 40, 2);
  const Volume<float> image = random.volume(dims, -500, 900);
  for (const float slope : {0.0f, 0.05f, 0.12f, 0.2f, 0.26f, 0.34f, 0.5f, 1.0f, 2.0f}) {
    SCOPED_TRACE(slope);
    for (const float sign : {1.0f, -1.0f}) {
      Volume<float> vdm = random.volume(dims, -0.2f, 0.2f);
      for (int i = 0; i < vdm.size(); ++i)
        vdm.data()[i] += sign * slope * static_cast<float>(i % dims.x - dims.x / 2);
      expectColumnSplines(image, vdm);
    }
  }
}

// All columns at once where the spline fades out, and where it has ended.
TEST(SplineResampling, NeighboursThatReadAroundTheEnds) {
  Random random(89);
  const glm::ivec3 dims(37, 7, 2);
  const Volume<float> image = random.volume(dims, 100, 900);
  for (const float target : {-3.0f, -2.5f, -2.0f, -1.0f, 0.0f, 6.0f, 7.0f, 7.5f, 8.0f, 9.0f}) {
    SCOPED_TRACE(target);
    Volume<float> vdm = random.volume(dims, -1.2f, 1.2f);
    for (int i = 0; i < vdm.size(); ++i)
      vdm.data()[i] += target - static_cast<float>(i / dims.x % dims.y);
    expectColumnSplines(image, vdm);
  }
}

TEST(SplineResampling, WholeNumberDisplacementsAndPositionsAroundTheEnds) {
  Random random(79);
  const glm::ivec3 dims(33, 7, 2);
  Volume<float> vdm(dims);
  for (int i = 0; i < vdm.size(); ++i) {
    const float whole = static_cast<float>(random.below(27) - 13);
    const float infinity = std::numeric_limits<float>::infinity();
    const float near[] = {whole, std::nextafter(whole, infinity), std::nextafter(whole, -infinity),
                          whole + 0.5f};
    vdm.data()[i] = near[random.below(4)];
  }
  expectColumnSplines(random.volume(dims, -500, 900), vdm);
}

// Between two samples that are 0 but for rounding, every bit of the sum shows.
TEST(SplineResampling, ValuesThatCancelKeepTheOrderOfAdditions) {
  Random random(84);
  const glm::ivec3 dims(40, 24, 3);
  Volume<float> image = random.volume(dims, -900, 900), vdm(dims);
  for (int i = 0; i < image.size(); ++i) {
    if (random.below(3)) image.data()[i] = 0;
    vdm.data()[i] = static_cast<float>(random.below(7) - 3);
  }
  expectColumnSplines(image, vdm);
}

// A ramp read where it crosses 0: what is left is the rounding of the weights.
TEST(SplineResampling, ARampReadAtItsZeroKeepsTheRoundingOfTheWeights) {
  Random random(85);
  const glm::ivec3 dims(40, 80, 2);
  Volume<float> image(dims), vdm(dims);
  for (int z = 0; z < dims.z; ++z)
    for (int x = 0; x < dims.x; ++x) {
      const float zero = 40.0f + static_cast<float>(random.below(1024)) / 1024.0f;
      for (int y = 0; y < dims.y; ++y) {
        image.at(x, y, z) = static_cast<float>(y) - zero;
        vdm.at(x, y, z) = zero - static_cast<float>(y);
      }
    }
  expectColumnSplines(image, vdm);
}

TEST(SplineResampling, DisplacementsThatAreNotFiniteGiveZero) {
  Random random(80);
  const glm::ivec3 dims(19, 8, 2);
  Volume<float> vdm = random.volume(dims, -2, 2);
  sprinkleOddValues(vdm, random);
  const Volume<float> image = random.volume(dims, 100, 900);
  expectColumnSplines(image, vdm);
  Volume<float> resampled(dims);
  applyVdmYSpline(resampled, image, vdm, /*reverse=*/false);
  for (int i = 0; i < vdm.size(); ++i) {
    if (std::isfinite(vdm.data()[i])) continue;
    EXPECT_EQ(resampled.data()[i], 0.0f);
  }
}

// At -2 and ny + 1 nothing is read any more, not even with weight 0.
TEST(SplineResampling, NothingIsReadAtAndBeyondTheOutermostPositions) {
  Random random(87);
  const glm::ivec3 dims(33, 7, 2);
  Volume<float> image = random.volume(dims, 100, 900), vdm(dims);
  for (int i = 0; i < image.size(); i += 5)
    image.data()[i] = i % 2 ? std::nanf("") : std::numeric_limits<float>::infinity();
  for (const float target : {-3.0f, -2.0f, 8.0f, 9.0f}) {
    for (int z = 0; z < dims.z; ++z)
      for (int y = 0; y < dims.y; ++y)
        for (int x = 0; x < dims.x; ++x) vdm.at(x, y, z) = target - static_cast<float>(y);
    expectColumnSplines(image, vdm);
    Volume<float> resampled(dims);
    applyVdmYSpline(resampled, image, vdm, /*reverse=*/false);
    EXPECT_TRUE(compare::same(resampled, Volume<float>(dims, 0.0f))) << target;
  }
}

TEST(SplineResampling, WhatIsNotFiniteStaysInItsColumn) {
  Random random(81);
  const glm::ivec3 dims(35, 9, 3);
  const Volume<float> vdm = random.volume(dims, -2, 2), image = random.volume(dims, -500, 900);
  for (const float odd : {std::nanf(""), std::numeric_limits<float>::infinity()}) {
    Volume<float> hurt = image;
    hurt.at(17, 4, 1) = odd;
    forEachVariant([&](SimdVariant) {
      Volume<float> sound(dims), got(dims);
      applyVdmYSpline(sound, image, vdm, /*reverse=*/false);
      applyVdmYSpline(got, hurt, vdm, /*reverse=*/false);
      EXPECT_FALSE(std::isfinite(got.at(17, 4, 1)));
      for (int y = 0; y < dims.y; ++y) got.at(17, y, 1) = sound.at(17, y, 1);
      EXPECT_TRUE(compare::same(got, sound));
    });
  }
}

TEST(SplineResampling, DimensionsOfOneAlongXOrZ) {
  Random random(82);
  for (const glm::ivec3 dims :
       {glm::ivec3(1, 12, 1), glm::ivec3(1, 12, 5), glm::ivec3(20, 12, 1)}) {
    const Volume<float> image = random.volume(dims, 0, 900);
    expectColumnSplines(image, random.volume(dims, -3, 3));
    Volume<float> still(dims);
    applyVdmYSpline(still, image, Volume<float>(dims, 0.0f), /*reverse=*/false);
    for (int i = 0; i < image.size(); ++i) EXPECT_FLOAT_EQ(still.data()[i], image.data()[i]);
  }
}

TEST(SplineResampling, ASingleRowAndNothingAtAll) {
  for (const glm::ivec3 dims : {glm::ivec3(20, 1, 2), glm::ivec3(0, 4, 2), glm::ivec3(4, 0, 2)}) {
    Volume<float> got(dims);
    applyVdmYSpline(got, Volume<float>(dims, 5.0f), Volume<float>(dims, 0.0f), /*reverse=*/false);
    for (int i = 0; i < got.size(); ++i) EXPECT_FLOAT_EQ(got.data()[i], 5.0f);
  }
}

TEST(SplineResampling, TransposedImagesGiveTheTransposedResult) {
  Random random(83);
  const Volume<float> image = random.volume({70, 33, 4}, 0, 900);
  const Volume<float> vdm = random.volume({33, 70, 4}, -3, 3);
  forEachVariant([&](SimdVariant) {
    Volume<float> wanted(vdm.dimensions());
    applyVdmYSpline(wanted, image.transposeXY(), vdm, /*reverse=*/false);
    EXPECT_TRUE(compare::same(applyVdm(vdm, image, /*rllr=*/true, false), wanted.transposeXY()));
  });
}

}  // namespace

}  // namespace mirel
