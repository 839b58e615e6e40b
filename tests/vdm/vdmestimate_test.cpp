#include "vdm/vdmestimate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "numerics/distance.h"
#include "numerics/volumegauss.h"
#include "reference/vdmestimate.h"
#include "support/compare.h"
#include "support/fftw_binding.h"
#include "support/random_volume.h"
#include "vdm/entrylog.h"
#include "vdm/simplevdmestimate.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

using compare::failsAssertion;
using compare::same;
using Entries = std::vector<std::string>;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float inf = std::numeric_limits<float>::infinity();
const glm::dvec3 voxelSize(2.0, 2.0, 2.5);
const glm::dvec3 fitSigma(1.0, 1.5, 1.0);
const char* const toRepair = " iterations to improve inverse consistency";

struct Scales {
  std::vector<Volume<float>> patterns;
  std::vector<std::vector<float>> amplitudes;
  std::vector<glm::dvec3> sigmas;
  bool useSsd = true, useIc = false;

  void add(Volume<float> pattern, std::vector<float> amplitude, double sigma) {
    patterns.push_back(std::move(pattern));
    amplitudes.push_back(std::move(amplitude));
    sigmas.emplace_back(sigma, sigma, sigma);
  }
};

Scales twoScales(bool useSsd, bool useIc) {
  Scales s;
  s.useSsd = useSsd;
  s.useIc = useIc;
  s.add(Volume<float>(7, 7, 7, 1.0f), {-1.0f, -0.5f, 0.0f, 0.5f, 1.0f}, 2.0);
  s.add(Volume<float>(3, 3, 3, 1.0f), {-0.25f, 0.0f, 0.25f}, 1.0);
  return s;
}

// Each value falls off from the centre, no two neighbours alike.
Volume<float> unevenPattern(glm::ivec3 d) {
  Random random(77);
  return random.volume(d, 0.2f, 1.0f);
}

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// The time taken is the only entry that differs from run to run.
Entries withoutTime(Entries entries) {
  const std::string start = "\nTime taken: ";
  for (std::string& entry : entries) {
    if (!startsWith(entry, start)) continue;
    std::size_t parsed = 0;
    const std::string seconds = entry.substr(start.size());
    if (std::stod(seconds, &parsed) >= 0 && parsed == seconds.size()) entry = start + "...";
  }
  return entries;
}

// The number between `before` and `after`, which together are the whole entry; -1 if they are not.
double numberBetween(const std::string& entry, const std::string& before,
                     const std::string& after) {
  if (!startsWith(entry, before) || entry.size() <= before.size() + after.size()) return -1;
  const std::string rest = entry.substr(before.size());
  std::size_t parsed = 0;
  const double number = std::stod(rest, &parsed);
  return rest.substr(parsed) == after ? number : -1;
}

class Estimate : public testing::Test {
 protected:
  void SetUp() override { bindFftw(); }

  Volume<float> estimate(const Volume<float>& ap, const Volume<float>& pa, const Scales& s) {
    return estimate_vdm(ap, pa, voxelSize, fitSigma, s.useSsd, s.patterns, s.amplitudes, s.sigmas,
                        s.useIc, log);
  }
  void expectAgreement(const Volume<float>& ap, const Volume<float>& pa, const Scales& s) {
    EntryLog engineLog, referenceLog;
    const Volume<float> a = estimate_vdm(ap, pa, voxelSize, fitSigma, s.useSsd, s.patterns,
                                         s.amplitudes, s.sigmas, s.useIc, engineLog);
    const Volume<float> b =
        reference::estimate_vdm(ap, pa, voxelSize, fitSigma, s.useSsd, s.patterns, s.amplitudes,
                                s.sigmas, s.useIc, referenceLog);
    EXPECT_TRUE(same(a, b));
    EXPECT_EQ(withoutTime(engineLog.entries()), withoutTime(referenceLog.entries()));
    EXPECT_EQ(engineLog.pending(), "");
  }
  EntryLog log;
};

// What the estimate does without any scale.
Volume<float> smoothedColumnWise(const Volume<float>& ap, const Volume<float>& pa) {
  EntryLog ignored;
  Volume<float> vdm = simpleVDMestimate(ap, pa, fitSigma, ignored);
  applyGauss<float>(vdm, {1.5, 1.5, 1.5}, {0, 0, 0}, true);
  return vdm;
}

struct Pair {
  Volume<float> ap, pa;
};

Pair resampled(const Volume<float>& ap, const Volume<float>& pa, const Volume<float>& vdm) {
  Pair p{Volume<float>(ap.dimensions()), Volume<float>(ap.dimensions())};
  applyVdmYLinear(p.ap, ap, vdm, false);
  applyVdmYLinearReverse(p.pa, pa, vdm);
  return p;
}

TEST_F(Estimate, DifferentDimensionsFail) {
  EXPECT_TRUE(failsAssertion(
      [&] { estimate(Volume<float>(2, 3, 4, 1.0f), Volume<float>(3, 2, 4, 1.0f), Scales{}); },
      "assertion failure (src/vdm/vdmestimate.cpp:53): "
      "vol_ap.dimensions() == vol_pa.dimensions()"));
  EXPECT_TRUE(log.entries().empty());
}

TEST_F(Estimate, IncompleteScalesAreRefusedBeforeAnythingElse) {
  const Volume<float> image(4, 4, 4, 1.0f);
  const auto refused = [&](const Scales& s) {
    EXPECT_THROW(estimate(image, image, s), std::invalid_argument);
    EXPECT_TRUE(log.entries().empty());
  };
  Scales s = twoScales(true, false);
  s.amplitudes[1].clear();
  refused(s);
  s = twoScales(true, false);
  s.amplitudes.pop_back();
  refused(s);
  s = twoScales(true, false);
  s.sigmas.pop_back();
  refused(s);
  for (const glm::ivec3 d : {glm::ivec3(4, 3, 3), glm::ivec3(3, 4, 3), glm::ivec3(3, 3, 4),
                             glm::ivec3(0, 3, 3), glm::ivec3(0, 0, 0)}) {
    s = twoScales(true, false);
    s.patterns[1] = Volume<float>(d, 1.0f);
    refused(s);
  }
}

TEST_F(Estimate, ListsMayBeLongerThanThePatterns) {
  Scales s = twoScales(true, false);
  s.amplitudes.push_back({});
  s.sigmas.emplace_back(1, 1, 1);
  expectAgreement(blobs({6, 8, 4}, 1), blobs({6, 8, 4}, 1, 1.0f), s);
}

TEST_F(Estimate, WithoutScalesIsTheSmoothedColumnWiseEstimate) {
  const Volume<float> ap = blobs({12, 14, 9}, 2, 1.0f), pa = blobs({12, 14, 9}, 2, -1.0f);
  for (const bool useSsd : {true, false}) {
    EntryLog entries;
    const Volume<float> vdm =
        estimate_vdm(ap, pa, voxelSize, fitSigma, useSsd, {}, {}, {}, false, entries);
    EXPECT_EQ(vdm, smoothedColumnWise(ap, pa));
    const Pair p = resampled(ap, pa, vdm);
    const std::string ssdText = written(ssd_norm(p.ap, p.pa)), nccText = written(ncc(p.ap, p.pa));
    const std::string name = useSsd ? "SSD" : "NCC", other = useSsd ? "NCC" : "SSD";
    ASSERT_EQ(entries.entries().size(), 7u);
    const Entries tail(entries.entries().begin() + 2, entries.entries().end());
    EXPECT_EQ(withoutTime(tail),
              (Entries{name + " after applying smoothed VDM: " + (useSsd ? ssdText : nccText),
                       "\nStarting local optimizations",
                       "Other distance measure " + other + ": " + (useSsd ? nccText : ssdText),
                       "\nTime taken: ...",
                       nrOfErrorsInVDM(vdm) == 0
                           ? "Inverse consistency check VDM: PASSED"
                           : "Inverse consistency check VDM: some inconsistencies found"}));
  }
}

TEST_F(Estimate, LogsTwoEntriesPerScale) {
  const Volume<float> ap = blobs({8, 10, 5}, 3, 1.0f), pa = blobs({8, 10, 5}, 3, -1.0f);
  Scales s = twoScales(false, true);
  s.sigmas[1] = glm::dvec3(0.75, 3.0, 4.0);
  estimate(ap, pa, s);
  const Entries& e = log.entries();
  ASSERT_EQ(e.size(), 11u);
  EXPECT_EQ(e[3], "\nStarting local optimizations");
  EXPECT_GE(numberBetween(e[4], "Smoothed (2) and needed ", toRepair), 0) << e[4];
  EXPECT_GT(numberBetween(e[5], "Finished iteration with NCC: ", ""), 0) << e[5];
  EXPECT_GE(numberBetween(e[6], "Smoothed (0.75) and needed ", toRepair), 0)
      << "the x component, as a double: " << e[6];
  EXPECT_GT(numberBetween(e[8], "Other distance measure SSD: ", ""), 0) << e[8];
}

TEST_F(Estimate, EndsWithWhetherTheMapPassesTheConsistencyCheck) {
  const Volume<float> ap = blobs({8, 10, 5}, 3, 1.0f), pa = blobs({8, 10, 5}, 3, -1.0f);
  const Volume<float> vdm = estimate(ap, pa, twoScales(true, false));
  EXPECT_EQ(nrOfErrorsInVDM(vdm), 0) << "smoothed errors are gone";
  EXPECT_EQ(log.entries().back(), "Inverse consistency check VDM: PASSED");
}

TEST_F(Estimate, ReducesTheDifferenceOfTheImages) {
  const Volume<float> ap = blobs({12, 24, 9}, 6, 1.0f), pa = blobs({12, 24, 9}, 6, -1.0f);
  const Volume<float> vdm = estimate(ap, pa, twoScales(true, false));
  const Pair p = resampled(ap, pa, vdm);
  EXPECT_LT(ssd_norm(p.ap, p.pa), 0.2 * ssd_norm(ap, pa));
}

TEST_F(Estimate, DoesNotUseTheVoxelSize) {
  const Volume<float> ap = blobs({8, 10, 5}, 3, 1.0f), pa = blobs({8, 10, 5}, 3, -1.0f);
  const Scales s = twoScales(true, false);
  EntryLog other;
  EXPECT_EQ(estimate(ap, pa, s), estimate_vdm(ap, pa, {nan, 0, -1}, fitSigma, s.useSsd, s.patterns,
                                              s.amplitudes, s.sigmas, s.useIc, other));
}

TEST_F(Estimate, WithoutForegroundOnlySmooths) {
  Random random(4);
  const glm::ivec3 d(7, 9, 5);
  const Volume<float> ap = random.volume(d, 0, 90), pa = random.volume(d, 0, 90);
  EXPECT_EQ(estimate(ap, pa, twoScales(true, false)), Volume<float>(d, 0.0f));
}

TEST_F(Estimate, EqualCostsSelectTheEarliestAmplitude) {
  // Constant images: every amplitude costs 0, so the first one is taken at every voxel; all
  // voxels weigh the same, so smoothing keeps the constant map.
  const glm::ivec3 d(5, 6, 5);
  const Volume<float> image(d, 500.0f);
  const Volume<float> start = smoothedColumnWise(image, image);
  if (!std::isfinite(start.mean())) GTEST_SKIP() << "the column fit has nothing to fit";
  for (const float first : {0.25f, -0.25f}) {
    Scales s;
    s.add(Volume<float>(3, 3, 3, 1.0f), {first, 0.0f, -first}, 1.0);
    const Volume<float> vdm = estimate(image, image, s);
    for (int i = 0; i < vdm.size(); ++i) EXPECT_NEAR(vdm.data()[i], start.data()[i] + first, 0.01f);
  }
}

TEST_F(Estimate, UpdatesTheCentreByTheBareAmplitudeNotByThePatternsValue) {
  // One amplitude: every visited voxel moves by it, whatever the pattern holds.
  const Volume<float> image = blobs({8, 10, 6}, 5) + 300.0f;
  const Volume<float> start = smoothedColumnWise(image, image);
  for (const float value : {1.0f, 0.125f, 0.0f}) {
    Scales s;
    s.add(Volume<float>(3, 3, 3, value), {0.5f}, 1.0);
    const Volume<float> vdm = estimate(image, image, s);
    for (int z = 0; z < 6; ++z)
      for (int y = 3; y < 7; ++y)
        for (int x = 0; x < 8; ++x)
          EXPECT_NEAR(vdm.at(x, y, z), start.at(x, y, z) + 0.5f, 0.05f) << "pattern " << value;
  }
}

TEST_F(Estimate, AgreesWithTheReference) {
  for (const bool useSsd : {true, false})
    for (const bool useIc : {false, true})
      for (unsigned seed = 0; seed < 2; ++seed) {
        SCOPED_TRACE(testing::Message()
                     << (useSsd ? "SSD" : "NCC") << (useIc ? ", IC" : "") << ", seed " << seed);
        const Scales s = twoScales(useSsd, useIc);
        expectAgreement(blobs({12, 14, 9}, seed, 1.2f), blobs({12, 14, 9}, seed, -0.8f), s);
        expectAgreement(blobs({12, 14, 9}, seed), blobs({12, 14, 9}, seed + 50), s);
      }
}

TEST_F(Estimate, AgreesWithTheReferenceOnOtherShapes) {
  for (const glm::ivec3 d :
       {glm::ivec3(1, 1, 1), glm::ivec3(2, 2, 2), glm::ivec3(3, 3, 3), glm::ivec3(1, 15, 1),
        glm::ivec3(9, 2, 5), glm::ivec3(17, 8, 2), glm::ivec3(3, 9, 16), glm::ivec3(8, 8, 8)})
    for (const bool useSsd : {true, false}) {
      SCOPED_TRACE(testing::Message() << d.x << "x" << d.y << "x" << d.z << " " << useSsd);
      expectAgreement(blobs(d, 7, 0.5f), blobs(d, 7, -0.5f), twoScales(useSsd, true));
      expectAgreement(blobs(d, 7) + 200.0f, blobs(d, 8) + 150.0f, twoScales(useSsd, false));
    }
}

TEST_F(Estimate, AgreesWithTheReferenceOnUnevenPatterns) {
  Scales s;
  s.add(unevenPattern({5, 3, 7}), {0.0f, -1.0f, 1.0f}, 1.5);
  s.add(unevenPattern({1, 7, 1}), {0.5f, -0.5f}, 0.7);
  s.add(unevenPattern({1, 1, 1}), {-0.1f, 0.0f, 0.1f}, 3.0);
  s.add(unevenPattern({9, 9, 9}), {2.0f, -2.0f, 0.0f}, 1.0);
  const Volume<float> ap = blobs({11, 12, 7}, 9, 1.0f), pa = blobs({11, 12, 7}, 9, -1.0f);
  for (const bool useSsd : {true, false})
    for (const bool useIc : {false, true}) {
      s.useSsd = useSsd;
      s.useIc = useIc;
      expectAgreement(ap, pa, s);
    }
}

TEST_F(Estimate, AgreesWithTheReferenceWhereTheMapFolds) {
  // Hardly smoothed large trials leave many steps to repair.
  Scales s;
  s.add(Volume<float>(3, 3, 3, 1.0f), {-3.0f, -2.0f, 0.0f, 2.0f, 3.0f}, 0.3);
  s.add(Volume<float>(3, 3, 3, 1.0f), {-2.0f, 0.0f, 2.0f}, 0.3);
  const Volume<float> ap = blobs({10, 14, 6}, 13, 2.0f), pa = blobs({10, 14, 6}, 14);
  for (const bool useSsd : {true, false}) {
    s.useSsd = useSsd;
    expectAgreement(ap, pa, s);
  }
  estimate(ap, pa, s);
  EXPECT_GT(numberBetween(log.entries().at(4), "Smoothed (0.3) and needed ", toRepair), 500);
}

TEST_F(Estimate, AgreesWithTheReferenceOnTiesAndDuplicateAmplitudes) {
  Scales s;
  s.add(Volume<float>(3, 3, 3, 1.0f), {0.5f, 0.5f, -0.5f, 0.0f, -0.5f, 0.0f}, 1.0);
  s.add(Volume<float>(5, 5, 5, 0.0f), {0.3f, -0.3f}, 1.0);  // no trial moves anything
  s.add(Volume<float>(3, 3, 3, 1.0f), {-0.0f, 0.0f, 100.0f, -100.0f}, 1.0);
  const Volume<float> image = blobs({9, 10, 6}, 10);
  for (const bool useSsd : {true, false}) {
    s.useSsd = useSsd;
    expectAgreement(image, image, s);
    expectAgreement(image, blobs({9, 10, 6}, 10, 1.0f), s);
  }
}

TEST_F(Estimate, AgreesWithTheReferenceOnAmplitudesThatNoVoxelCanFollow) {
  Scales s;
  s.add(Volume<float>(3, 3, 3, 1.0f), {0.0f, 40.0f, nan, 0.5f}, 1.0);
  const Volume<float> ap = blobs({7, 9, 5}, 11, 1.0f), pa = blobs({7, 9, 5}, 11);
  for (const bool useSsd : {true, false}) {
    s.useSsd = useSsd;
    expectAgreement(ap, pa, s);
  }
}

TEST_F(Estimate, AgreesWithTheReferenceOnConstantImages) {
  for (const bool useSsd : {true, false}) {
    const Scales s = twoScales(useSsd, true);
    expectAgreement(Volume<float>(6, 8, 5, 500.0f), Volume<float>(6, 8, 5, 500.0f), s);
    expectAgreement(Volume<float>(6, 8, 5, 500.0f), Volume<float>(6, 8, 5, 300.0f), s);
    expectAgreement(Volume<float>(6, 8, 5, 100.0f), Volume<float>(6, 8, 5, 100.0f), s);
  }
}

TEST_F(Estimate, AgreesWithTheReferenceOnNanAndInfinities) {
  // One odd voxel spreads through the FFT over the whole smoothed image: no column is fitted.
  Volume<float> ap = blobs({8, 10, 6}, 12), pa = blobs({8, 10, 6}, 12, 1.0f);
  for (const float odd : {nan, inf, -inf}) {
    ap.at(4, 5, 3) = odd;
    for (const bool useSsd : {true, false})
      for (const bool useIc : {false, true}) expectAgreement(ap, pa, twoScales(useSsd, useIc));
  }
}

TEST_F(Estimate, AgreesWithTheReferenceOnForegroundAtTheBorders) {
  Volume<float> ap(9, 11, 7, 20.0f), pa = ap;
  for (int z = 0; z < 7; ++z)
    for (int y = 0; y < 11; ++y)
      for (int x = 0; x < 9; ++x)
        if (x == 0 || y == 0 || z == 6 || y == 10)
          ap.at(x, y, z) = 400.0f + 30.0f * static_cast<float>(x + 2 * y + 3 * z),
                      pa.at(x, y, z) = 450.0f + 25.0f * static_cast<float>(x + 2 * y + 3 * z);
  for (const bool useSsd : {true, false}) expectAgreement(ap, pa, twoScales(useSsd, false));
}

TEST_F(Estimate, OfNoVoxelsIsEmpty) {
  for (const glm::ivec3 d : {glm::ivec3(0, 0, 0), glm::ivec3(3, 0, 2), glm::ivec3(0, 4, 2)}) {
    EXPECT_EQ(estimate(Volume<float>(d), Volume<float>(d), twoScales(true, true)).dimensions(), d);
    expectAgreement(Volume<float>(d), Volume<float>(d), twoScales(false, true));
  }
}

}  // namespace

}  // namespace mirel
