#include "bids/acquisition.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>

#include "base/error.h"
#include "support/niftifiles.h"

namespace mirel::bids {

namespace {

using namespace niftifiles;
using testing::ElementsAre;
using testing::IsEmpty;

struct AcquisitionOfAnImage : testing::Test {
  TemporaryFolder folder;
  const std::string image = folder.file("a_bold.nii");
  const std::string sidecar = folder.file("a_bold.json");
  const glm::ivec3 dims{64, 65, 30};
  GivenAcquisition given;

  Acquisition resolved(SidecarUse use = SidecarUse::always) const {
    return resolveAcquisition(image, dims, given, use);
  }
};

Error faultOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const Error& error) {
    return error;
  }
  return Error("nothing");
}

}  // namespace

TEST_F(AcquisitionOfAnImage, StaysOpenWhereNothingTells) {
  const Acquisition found = resolved();
  EXPECT_FALSE(found.direction);
  EXPECT_FALSE(found.readout);
  EXPECT_THAT(found.sidecarFiles(), IsEmpty());
}

TEST_F(AcquisitionOfAnImage, ComesFromTheSidecarWithTheLinesOfItsAxis) {
  writeText(sidecar, R"({"PhaseEncodingDirection": "j-", "EffectiveEchoSpacing": 0.0005})");
  const Acquisition found = resolved();
  EXPECT_EQ(found.direction->value, (PhaseEncodingDirection{1, -1}));
  EXPECT_EQ(found.direction->source, StatedDirection::Source::sidecar);
  EXPECT_EQ(found.direction->sourceText(), sidecar);
  EXPECT_DOUBLE_EQ(found.readout->seconds, 64 * 0.0005);
  EXPECT_THAT(found.sidecarFiles(), ElementsAre(sidecar));
}

TEST_F(AcquisitionOfAnImage, OptionsComeBeforeTheSidecarAndChooseTheAxis) {
  writeText(sidecar, R"({"PhaseEncodingDirection": "j-", "EffectiveEchoSpacing": 0.0005})");
  given.direction = PhaseEncodingDirection{2, 1};
  EXPECT_EQ(resolved().direction->sourceText(), "option");
  EXPECT_DOUBLE_EQ(resolved().readout->seconds, 29 * 0.0005);
  given.readoutSeconds = 0.03;
  EXPECT_EQ(resolved().readout->seconds, 0.03);
  EXPECT_EQ(resolved().readout->source, ReadoutSource::option);
}

TEST_F(AcquisitionOfAnImage, ASidecarThatCouldTellNothingNewIsLeftUnreadIfWished) {
  writeText(sidecar, "no JSON");
  given.direction = PhaseEncodingDirection{};
  given.readoutSeconds = 0.03;
  EXPECT_THAT(resolved(SidecarUse::whereNeeded).sidecarFiles(), IsEmpty());
  EXPECT_EQ(failure([&] { resolved(); }), sidecar + " is not valid JSON");
  given.sidecar = sidecar;
  EXPECT_EQ(failure([&] { resolved(SidecarUse::whereNeeded); }), sidecar + " is not valid JSON");
}

TEST_F(AcquisitionOfAnImage, AGivenReadoutTimeThatIsNoneIsRefusedWithoutASidecarToo) {
  given.readoutSeconds = 47;
  EXPECT_THAT(failure([&] { resolved(); }), testing::HasSubstr("milliseconds"));
  EXPECT_THAT(failure([&] { givenAcquisition(image, given); }), testing::HasSubstr(image));
}

TEST_F(AcquisitionOfAnImage, WhatIsMissingIsSaidWithTheFileAndAdvice) {
  const Error none = faultOf([&] { requireDirection(resolved(), image, Advice::Of::second); });
  EXPECT_EQ(none.what(), image + " has no sidecar " +
                             std::filesystem::path(sidecar).filename().string() +
                             " with a PhaseEncodingDirection");
  EXPECT_EQ(none.file(), image);
  EXPECT_EQ(none.advice(), (Advice{Advice::Kind::giveDirection, Advice::Of::second}));
  writeText(sidecar, "{}");
  EXPECT_EQ(faultOf([&] { requireDirection(resolved(), image); }).what(),
            sidecar + " has no PhaseEncodingDirection");
  const Error readout = faultOf([&] { requireReadout(resolved(), image, Advice::Of::series); });
  EXPECT_EQ(readout.what(), sidecar + " has neither TotalReadoutTime nor EffectiveEchoSpacing");
  EXPECT_EQ(readout.advice(), (Advice{Advice::Kind::giveReadout, Advice::Of::series}));
}

TEST_F(AcquisitionOfAnImage, AFieldOfTheWrongKindIsNamed) {
  writeText(sidecar, R"({"PhaseEncodingDirection": 2})");
  const Error fault = faultOf([&] { resolved(); });
  EXPECT_EQ(fault.file(), sidecar);
  EXPECT_EQ(fault.field(), "PhaseEncodingDirection");
}

TEST(StatedDirection, SourcesHaveTexts) {
  using Source = StatedDirection::Source;
  EXPECT_EQ((StatedDirection{{}, Source::opposite}.sourceText()), "opposite of the other image");
  EXPECT_EQ((StatedDirection{{}, Source::assumed}.sourceText()), "assumed");
  EXPECT_EQ((StatedDirection{{}, Source::map, "a_vdm.map"}.sourceText()), "a_vdm.map");
}

}  // namespace mirel::bids
