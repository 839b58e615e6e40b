#include "vdm/simplevdmestimate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "numerics/distance.h"
#include "numerics/volumegauss.h"
#include "reference/simplevdmestimate.h"
#include "support/compare.h"
#include "support/fftw_binding.h"
#include "support/random_volume.h"
#include "vdm/entrylog.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

using compare::failsAssertion;
using compare::same;
using Entries = std::vector<std::string>;

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
const glm::dvec3 fitSigma(1.0, 1.5, 1.0);

class SimpleEstimate : public testing::Test {
 protected:
  void SetUp() override { bindFftw(); }

  Volume<float> estimate(const Volume<float>& ap, const Volume<float>& pa) {
    return simpleVDMestimate(ap, pa, fitSigma, log);
  }
  void expectAgreement(const Volume<float>& ap, const Volume<float>& pa,
                       const glm::dvec3& sigma = fitSigma) {
    EntryLog engineLog, referenceLog;
    const Volume<float> a = simpleVDMestimate(ap, pa, sigma, engineLog);
    const Volume<float> b = reference::simpleVDMestimate(ap, pa, sigma, referenceLog);
    EXPECT_TRUE(same(a, b));
    EXPECT_EQ(engineLog.entries(), referenceLog.entries());
  }
  EntryLog log;
};

Matrix<float> matrix2x2(float m00, float m01, float m10, float m11) {
  Matrix<float> m(2, 2);
  m.at(0, 0) = m00, m.at(0, 1) = m01, m.at(1, 0) = m10, m.at(1, 1) = m11;
  return m;
}

TEST(Invert2x2, IsTheAdjugateOverTheDeterminant) {
  EXPECT_EQ(invert2x2Matrix(matrix2x2(2, 0, 0, 4)), matrix2x2(0.5f, 0, 0, 0.25f));
  EXPECT_EQ(invert2x2Matrix(matrix2x2(1, 2, 3, 4)), matrix2x2(-2, 1, 1.5f, -0.5f));
}

TEST(Invert2x2, ComputesTheReciprocalOnce) {
  const Matrix<float> inverse = invert2x2Matrix(matrix2x2(5, 0, 0, 9.8f));
  EXPECT_EQ(inverse.at(0, 0), (1.0f / (5.0f * 9.8f)) * 9.8f);
  EXPECT_EQ(inverse.at(1, 1), (1.0f / (5.0f * 9.8f)) * 5.0f);
}

TEST(Invert2x2, OfASingularMatrixIsNotFinite) {
  EXPECT_EQ(invert2x2Matrix(matrix2x2(1, 1, 1, 1)), matrix2x2(inf, -inf, -inf, inf));
  EXPECT_TRUE(std::isnan(invert2x2Matrix(matrix2x2(0, 0, 0, 0)).at(0, 0)));
}

TEST(Invert2x2, AgreesWithTheReference) {
  Random random(1);
  for (int i = 0; i < 200; ++i) {
    const Matrix<float> m = random.matrix(2, 2, -100, 100);
    EXPECT_TRUE(same(invert2x2Matrix(m), reference::invert2x2Matrix(m)));
  }
}

TEST(Invert2x2, OfOtherSizesFails) {
  const char* text =
      "assertion failure (src/vdm/simplevdmestimate.cpp:47): mat.columns() == 2 && mat.rows() == 2";
  EXPECT_TRUE(failsAssertion([] { invert2x2Matrix(Matrix<float>(3, 3, 1.0f)); }, text));
  EXPECT_TRUE(failsAssertion([] { invert2x2Matrix(Matrix<float>(2, 3, 1.0f)); }, text));
  EXPECT_TRUE(failsAssertion([] { invert2x2Matrix(Matrix<float>(4, 1, 1.0f)); }, text));
}

TEST(Columns, AreReadAndWrittenAlongY) {
  Random random(2);
  const Volume<float> v = random.volume({3, 5, 4}, 0, 10);
  const Vector<float> column = getColumnFromVolume(v, 2, 1);
  ASSERT_EQ(column.size(), 5);
  for (int y = 0; y < 5; ++y) EXPECT_EQ(column[y], v.at(2, y, 1));
  Volume<float> w(3, 5, 4, 0.0f);
  putColumnInVolume(column, w, 0, 3);
  EXPECT_EQ(getColumnFromVolume(w, 0, 3), column);
  EXPECT_EQ(getColumnFromVolume(w, 1, 3), Vector<float>(5, 0.0f));
}

TEST(Columns, BeyondTheVolumeFail) {
  Volume<float> v(3, 5, 4, 1.0f);
  const char* get =
      "assertion failure (src/vdm/simplevdmestimate.cpp:27): row < vol.nx() && slice < vol.nz()";
  EXPECT_TRUE(failsAssertion([&] { getColumnFromVolume(v, 3, 0); }, get));
  EXPECT_TRUE(failsAssertion([&] { getColumnFromVolume(v, 0, 4); }, get));
  const char* size = "assertion failure (src/vdm/simplevdmestimate.cpp:38): vec.size() == vol.ny()";
  const char* put =
      "assertion failure (src/vdm/simplevdmestimate.cpp:39): row < vol.nx() && slice < vol.nz()";
  EXPECT_TRUE(failsAssertion([&] { putColumnInVolume(Vector<float>(4, 0.0f), v, 3, 0); }, size))
      << "the size is checked first";
  EXPECT_TRUE(failsAssertion([&] { putColumnInVolume(Vector<float>(5, 0.0f), v, 3, 0); }, put));
  EXPECT_TRUE(failsAssertion([&] { putColumnInVolume(Vector<float>(5, 0.0f), v, 0, 4); }, put));
  EXPECT_EQ(v, Volume<float>(3, 5, 4, 1.0f));
}

TEST(Columns, OnlyTheUpperBoundsAreChecked) {
  Volume<float> v(3, 5, 4, 1.0f);
  EXPECT_EQ(getColumnFromVolume(v, -1, 0), Vector<float>(5, 0.0f));
  EXPECT_EQ(getColumnFromVolume(v, 0, -1), Vector<float>(5, 0.0f));
  putColumnInVolume(Vector<float>(5, 9.0f), v, -1, 0);
  putColumnInVolume(Vector<float>(5, 9.0f), v, 0, -1);
  EXPECT_EQ(v, Volume<float>(3, 5, 4, 1.0f));
}

TEST_F(SimpleEstimate, DifferentDimensionsFail) {
  EXPECT_TRUE(
      failsAssertion([&] { estimate(Volume<float>(2, 3, 4, 1.0f), Volume<float>(3, 2, 4, 1.0f)); },
                     "assertion failure (src/vdm/simplevdmestimate.cpp:65): "
                     "vol_ap.dimensions() == vol_pa.dimensions()"));
  EXPECT_TRUE(log.entries().empty());
}

TEST_F(SimpleEstimate, OfIdenticalImagesIsZero) {
  const Volume<float> image = blobs({12, 14, 9}, 1);
  EXPECT_EQ(estimate(image, image), Volume<float>(12, 14, 9, 0.0f));
}

TEST_F(SimpleEstimate, OfImagesWithoutForegroundIsZero) {
  Random random(3);
  EXPECT_EQ(estimate(random.volume({6, 9, 5}, 0, 90), random.volume({6, 9, 5}, 0, 90)),
            Volume<float>(6, 9, 5, 0.0f));
  EXPECT_EQ(estimate(Volume<float>(6, 9, 5, nan), Volume<float>(6, 9, 5, 500.0f)),
            Volume<float>(6, 9, 5, 0.0f));
}

TEST_F(SimpleEstimate, NeedsForegroundInBothImages) {
  const Volume<float> bright = blobs({6, 9, 5}, 4);
  EXPECT_EQ(estimate(bright, bright * 0.01f), Volume<float>(6, 9, 5, 0.0f));
  EXPECT_EQ(estimate(bright * 0.01f, bright), Volume<float>(6, 9, 5, 0.0f));
}

float smoothedMaximum(const Volume<float>& v) {
  return getAppliedGauss(v, fitSigma, glm::ivec3(0, 0, 0)).max();
}

// `v` times a factor such that the maximum after smoothing, which rounds, is exactly `target`;
// empty if no factor near the quotient does it.
Volume<float> scaledTo(const Volume<float>& v, float target) {
  float factor = target / smoothedMaximum(v) * 0.99999f;
  for (int step = 0; step < 2000; ++step) {
    const Volume<float> scaled = v * factor;
    if (smoothedMaximum(scaled) == target) return scaled;
    factor = std::nextafter(factor, 2 * factor);
  }
  return Volume<float>();
}

TEST_F(SimpleEstimate, SkipsAColumnWhoseSmoothedMaximumIsExactlyTheThreshold) {
  const glm::ivec3 d(1, 24, 1);
  const Volume<float> other = scaledTo(blobs(d, 5, 0.7f), 110.0f);
  const Volume<float> at = scaledTo(blobs(d, 5), 100.0f);
  const Volume<float> above = scaledTo(blobs(d, 5), std::nextafter(100.0f, 200.0f));
  ASSERT_EQ(other.dimensions(), d);
  ASSERT_EQ(at.dimensions(), d);
  ASSERT_EQ(above.dimensions(), d);
  const Volume<float> zero(d, 0.0f);
  EXPECT_EQ(estimate(at, other), zero);
  EXPECT_EQ(estimate(other, at), zero);
  EXPECT_NE(estimate(above, other), zero);
  EXPECT_NE(estimate(other, above), zero);
}

TEST_F(SimpleEstimate, FindsAShift) {
  // AP shifted by +1 and PA by -1 along y: the forward position of AP is y + 1.
  const Volume<float> ap = blobs({12, 24, 9}, 6, 1.0f), pa = blobs({12, 24, 9}, 6, -1.0f);
  const Volume<float> vdm = estimate(ap, pa);
  Volume<float> apU(12, 24, 9), paU(12, 24, 9);
  applyVdmYLinear(apU, ap, vdm, false);
  applyVdmYLinearReverse(paU, pa, vdm);
  EXPECT_LT(ssd_norm(apU, paU), 0.2 * ssd_norm(ap, pa));
}

TEST_F(SimpleEstimate, LogsBothMeasuresOnePerFlush) {
  const Volume<float> ap = blobs({8, 12, 5}, 7), pa = blobs({8, 12, 5}, 7, 1.0f);
  const Volume<float> vdm = estimate(ap, pa);
  Volume<float> apU(8, 12, 5), paU(8, 12, 5);
  applyVdmYLinear(apU, ap, vdm, false);
  applyVdmYLinearReverse(paU, pa, vdm);
  EXPECT_EQ(log.entries(),
            (Entries{"SSD of original AP and PA volumes: " + written(ssd_norm(ap, pa)),
                     "SSD after applying column wise VDM: " + written(ssd_norm(apU, paU))}));
  EXPECT_EQ(log.pending(), "");
}

TEST_F(SimpleEstimate, AgreesWithTheReference) {
  for (const glm::ivec3 d :
       {glm::ivec3(12, 14, 9), glm::ivec3(9, 13, 5), glm::ivec3(3, 31, 4), glm::ivec3(1, 12, 1),
        glm::ivec3(7, 2, 3), glm::ivec3(2, 1, 2), glm::ivec3(5, 3, 16), glm::ivec3(8, 16, 8)})
    for (unsigned seed = 0; seed < 3; ++seed) {
      SCOPED_TRACE(testing::Message() << d.x << "x" << d.y << "x" << d.z << ", seed " << seed);
      expectAgreement(blobs(d, seed, 1.0f), blobs(d, seed, -1.3f));
      expectAgreement(blobs(d, seed), blobs(d, seed + 100));
    }
}

TEST_F(SimpleEstimate, AgreesWithTheReferenceForOtherSigmas) {
  const Volume<float> ap = blobs({9, 13, 5}, 8, 1.0f), pa = blobs({9, 13, 5}, 8, -1.0f);
  for (const glm::dvec3& sigma : {glm::dvec3(0.5, 0.5, 0.5), glm::dvec3(3, 2, 1),
                                  glm::dvec3(0, 0, 0), glm::dvec3(0.1, 5.0, 0.1)})
    expectAgreement(ap, pa, sigma);
}

TEST_F(SimpleEstimate, AgreesWithTheReferenceOnDivergingFits) {
  Random random(9);
  const glm::ivec3 d(6, 10, 4);
  for (int trial = 0; trial < 6; ++trial)
    expectAgreement(random.volume(d, -3000, 3000), random.volume(d, -3000, 3000));
  expectAgreement(Volume<float>(d, 500.0f), Volume<float>(d, 300.0f));
  expectAgreement(random.volume(d, 0, 1e6f), random.volume(d, 0, 300));
  expectAgreement(random.volume(d, 0, 1e19f), random.volume(d, 0, 1e20f));
  expectAgreement(random.volume(d, 0, 3e37f), random.volume(d, 0, 1e3f));
}

TEST_F(SimpleEstimate, AgreesWithTheReferenceOnNanAndInfinities) {
  Volume<float> ap = blobs({6, 10, 4}, 10), pa = blobs({6, 10, 4}, 10, 1.0f);
  for (const float odd : {nan, inf, -inf}) {
    ap.at(3, 5, 2) = odd;
    expectAgreement(ap, pa);
    expectAgreement(pa, ap);
  }
}

TEST_F(SimpleEstimate, AgreesWithTheReferenceOnSeparatePatchesOfForeground) {
  // Most columns are skipped: the parameter maps pass through there.
  Volume<float> ap(16, 15, 16, 1.0f);
  for (const auto& [x, z] : {std::pair(0, 0), {15, 15}, {8, 7}, {8, 8}, {2, 14}})
    for (int y = 3; y < 9; ++y) ap.at(x, y, z) = 4000.0f + 100.0f * static_cast<float>(y * x);
  Volume<float> pa(16, 15, 16, 1.0f);
  for (int z = 0; z < 16; ++z)
    for (int y = 1; y < 15; ++y)
      for (int x = 0; x < 16; ++x) pa.at(x, y, z) = ap.at(x, y - 1, z);
  expectAgreement(ap, pa, {0.5, 1.0, 0.5});
}

TEST_F(SimpleEstimate, OfNoVoxelsIsEmpty) {
  for (const glm::ivec3 d : {glm::ivec3(0, 0, 0), glm::ivec3(3, 0, 2), glm::ivec3(0, 4, 2)}) {
    EXPECT_EQ(estimate(Volume<float>(d), Volume<float>(d)).dimensions(), d);
    expectAgreement(Volume<float>(d), Volume<float>(d));
  }
}

}  // namespace

}  // namespace mirel
