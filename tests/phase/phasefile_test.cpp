#include "phase/phasefile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "field/seriesfiles.h"
#include "phase/angle.h"
#include "phase/echotimes.h"

namespace mirel {

namespace {

using namespace seriesfiles;
using niftifiles::failure;
using testing::AllOf;
using testing::HasSubstr;

constexpr glm::ivec3 dims{12, 10, 6};

class PhaseFiles : public testing::Test {
 protected:
  // Radians of the given slope along x, on the scale of 12 bits that a scanner has.
  std::string phase(const std::string& name, double slope, glm::dvec3 mm = {3, 3, 4}) const {
    Volume<float> stored = filled(dims, [&](int x, int y, int z) {
      return std::round(2048 + 2048 / (turn / 2) * wrapped(slope * x + 0.9 * y + 1.1 * z));
    });
    stored.data()[0] = 0;
    stored.data()[1] = 4095;
    writeImage(folder.file(name), headerOf(dims, affineOf(mm)), [&](int) { return stored; });
    return folder.file(name);
  }
  PhaseFile withSidecar(const std::string& text) const {
    const std::string name = phase("sub-1_phasediff.nii", 0.5);
    niftifiles::writeText(folder.file("sub-1_phasediff.json"), text);
    return readPhaseFile(name);
  }

  TemporaryFolder folder;
};

TEST_F(PhaseFiles, TwoPhasesMakeTheirDifference) {
  const PhaseFile first = readPhaseFile(phase("a_phase1.nii", 0.5));
  const PhaseFile second = readPhaseFile(phase("a_phase2.nii", 0.8));
  EXPECT_THAT(first.scaleNote(),
              HasSubstr("a_phase1.nii are taken to be 0 .. 4095 (range of the values)"));
  const Volume<float> difference = phaseDifference(first, second);
  for (int x = 2; x < dims.x; ++x)
    EXPECT_NEAR(wrapped(static_cast<double>(difference.at(x, 5, 3)) - 0.3 * x), 0, 0.002);
  const PhaseFile other = readPhaseFile(phase("b_phase2.nii", 0.8, {3, 3, 3}));
  EXPECT_THAT(failure([&] { phaseDifference(first, other); }),
              HasSubstr("b_phase2.nii has another grid than "));
}

TEST_F(PhaseFiles, TheSamePhasesTwiceAreRefused) {
  const PhaseFile first = readPhaseFile(phase("a_phase1.nii", 0.5));
  EXPECT_EQ(first.filled, 0);
  const PhaseFile second = readPhaseFile(phase("a_phase2.nii", 0.5));
  EXPECT_THAT(failure([&] { phaseDifference(first, second); }),
              HasSubstr("a_phase2.nii holds the same phases as "));
}

TEST_F(PhaseFiles, WhatWasMaskedHasNoPhase) {
  nifti::Reader whole(phase("whole.nii", 0.5));
  Volume<float> values = whole.readVolume(0);
  for (int n = 2; n < values.size(); n += 3) values.data()[n] = 0;
  writeImage(folder.file("m.nii"), whole.header(), [&](int) { return values; });
  const PhaseFile masked = readPhaseFile(folder.file("m.nii"));
  EXPECT_TRUE(std::isnan(masked.radians.data()[5]));
  EXPECT_FALSE(std::isnan(masked.radians.data()[6]));
  EXPECT_THAT(masked.fillNote(), HasSubstr("m.nii share one value, which counts as no phase"));
}

TEST_F(PhaseFiles, WhatIsNoPhaseIsRefused) {
  EXPECT_THAT(failure([&] { readPhaseFile(phase("sub-1_magnitude1.nii", 0.5)); }),
              HasSubstr("sub-1_magnitude1.nii is a magnitude by its name"));
  EXPECT_THAT(failure([&] { withSidecar(R"({"ImageType": ["ORIGINAL", "M"]})"); }),
              HasSubstr("is a magnitude by the ImageType in "));
  EXPECT_THAT(failure([&] { withSidecar(R"({"Units": "furlongs"})"); }),
              HasSubstr("has the Units \"furlongs\""));
  EXPECT_THAT(failure([&] {
                readPhaseFile(phase("flat.nii", 0.5, {3, 3, 0}));
              }),
              HasSubstr("flat.nii has an orientation matrix that is singular"));
  writeImage(folder.file("s.nii"), headerOf(dims, affineOf(glm::dvec3(3)), 2),
             [](int t) { return smoothImage(dims, t); });
  EXPECT_THAT(failure([&] { readPhaseFile(folder.file("s.nii")); }), HasSubstr("has 2 volumes"));
}

TEST_F(PhaseFiles, EchoTimesOfADifference) {
  const EchoTimes times =
      echoTimesOfDifference(withSidecar(R"({"EchoTime1": 0.01, "EchoTime2": 0.01246})"));
  EXPECT_NEAR(times.difference(), 0.00246, 1e-12);
  EXPECT_THAT(times.source, HasSubstr("sub-1_phasediff.json"));
  const auto fault = [&](const std::string& sidecar) {
    return failure([&] { echoTimesOfDifference(withSidecar(sidecar)); });
  };
  EXPECT_THAT(fault(R"({"EchoTime1": 0.01})"), HasSubstr("phasediff.json has no EchoTime2"));
  EXPECT_THAT(fault(R"({"EchoTime1": "a"})"), HasSubstr("has an EchoTime1 that is no number"));
  EXPECT_THAT(fault(R"({"EchoTime1": 10, "EchoTime2": 12.46})"),
              AllOf(HasSubstr("phasediff.json is 10 s"), HasSubstr("may be in milliseconds")));
  EXPECT_THAT(fault(R"({"EchoTime1": -1, "EchoTime2": 0.01})"), HasSubstr("is -1 s, which no"));
  EXPECT_THAT(fault(R"({"EchoTime1": 0.01, "EchoTime2": 0.01})"), HasSubstr("no phase grows"));
  EXPECT_THAT(failure([&] { echoTimesOfDifference(readPhaseFile(phase("bare.nii", 0.5))); }),
              HasSubstr("bare.nii has no sidecar, which would say its EchoTime1"));
}

TEST_F(PhaseFiles, EchoTimesOfTwoPhases) {
  const std::string one = phase("a_phase1.nii", 0.5), two = phase("a_phase2.nii", 0.8);
  const auto times = [&](const std::string& first, const std::string& second) {
    niftifiles::writeText(folder.file("a_phase1.json"), "{\"EchoTime\": " + first + "}");
    niftifiles::writeText(folder.file("a_phase2.json"), "{\"EchoTime\": " + second + "}");
    return echoTimesOf({readPhaseFile(one), readPhaseFile(two)});
  };
  EXPECT_NEAR(times("0.005", "0.0075").difference(), 0.0025, 1e-12);
  EXPECT_NEAR(times("0.0075", "0.005").difference(), -0.0025, 1e-12);
  EXPECT_THAT(failure([&] { times("0.005", "0.005"); }),
              HasSubstr("0.005 s and 0.005 s, between which no phase grows"));
  EXPECT_THAT(failure([] { givenEchoTimes({0.005, 0.00505}); }), HasSubstr("no phase grows"));
  EXPECT_THAT(failure([&] { times("5", "7.5"); }), HasSubstr("milliseconds"));
  EXPECT_THAT(failure([] {
                givenEchoTimes({0.002, 0.01, 0.005});
              }),
              HasSubstr("0.002 s, 0.01 s and 0.005 s, of which each is to be later"));
}

}  // namespace

}  // namespace mirel
