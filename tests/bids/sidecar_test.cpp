#include "bids/sidecar.h"

#include <gmock/gmock.h>

#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

struct SidecarFile : testing::Test {
  TemporaryFolder folder;
  const std::string name = folder.file("run.json");

  bids::Sidecar read(const std::string& text) const {
    writeText(name, text);
    return bids::Sidecar(name);
  }
  std::string readoutFailure(const std::string& text) const {
    return failure([&] { static_cast<void>(read(text).readout(65)); });
  }
};

}  // namespace

TEST_F(SidecarFile, StandsBesideTheImage) {
  EXPECT_EQ(bids::sidecarName("a/run 1.nii.gz"), "a/run 1.json");
  EXPECT_EQ(bids::sidecarName("run.nii"), "run.json");
}

TEST_F(SidecarFile, TextsStandAloneOrInAList) {
  const bids::Sidecar sidecar = read(R"({"One": "a", "Many": ["a", "", 1, "b"], "No": null})");
  EXPECT_THAT(sidecar.texts("One"), testing::ElementsAre("a"));
  EXPECT_THAT(sidecar.texts("Many"), testing::ElementsAre("a", "b"));
  EXPECT_THAT(sidecar.texts("No"), testing::IsEmpty());
  EXPECT_THAT(sidecar.texts("Absent"), testing::IsEmpty());
}

TEST_F(SidecarFile, PhaseEncodingDirection) {
  for (const char* text : {"i", "i-", "j", "j-", "k", "k-"}) {
    const auto direction =
        read(R"({"PhaseEncodingDirection": ")" + std::string(text) + "\"}").phaseEncoding();
    ASSERT_TRUE(direction) << text;
    EXPECT_EQ(nameOf(*direction), text);
  }
  EXPECT_FALSE(read(R"({"EchoTime": 1})").phaseEncoding());
}

TEST_F(SidecarFile, AReadoutTimeAndASpacingThatContradictEachOther) {
  const auto contradiction = [&](const std::string& text) {
    return read(text).readout(65)->contradiction;
  };
  EXPECT_EQ(contradiction(R"({"TotalReadoutTime": 0.064, "EffectiveEchoSpacing": 0.001})"), "");
  EXPECT_EQ(contradiction(R"({"TotalReadoutTime": 0.065, "EffectiveEchoSpacing": 0.001})"), "")
      << "the last gap counted";
  EXPECT_THAT(
      contradiction(R"({"TotalReadoutTime": 0.05, "EffectiveEchoSpacing": 0.001})"),
      AllOf(StartsWith(name + " contradicts itself"), HasSubstr("0.05 s"), HasSubstr("0.064 s")));
  EXPECT_EQ(contradiction(R"({"TotalReadoutTime": 0.05, "EffectiveEchoSpacing": null})"), "");
  EXPECT_EQ(contradiction(R"({"EffectiveEchoSpacing": 0.001})"), "");
}

TEST_F(SidecarFile, ReadoutTimesInTheOrderOfTheirTrust) {
  const auto readout =
      read(R"({"TotalReadoutTime": 0.05, "EffectiveEchoSpacing": 0.001})").readout(65);
  EXPECT_EQ(readout->seconds, 0.05);
  EXPECT_EQ(readout->source, bids::ReadoutSource::totalReadoutTime);
  const auto spacing =
      read(R"({"EffectiveEchoSpacing": 0.001, "EstimatedTotalReadoutTime": 0.9})").readout(65);
  EXPECT_DOUBLE_EQ(spacing->seconds, 0.064);
  EXPECT_EQ(spacing->source, bids::ReadoutSource::effectiveEchoSpacing);
  const auto estimated =
      read(R"({"EstimatedTotalReadoutTime": 0.03, "EstimatedEffectiveEchoSpacing": 0.001})")
          .readout(65);
  EXPECT_EQ(estimated->seconds, 0.03);
  EXPECT_EQ(estimated->source, bids::ReadoutSource::estimated);
  EXPECT_DOUBLE_EQ(read(R"({"EstimatedEffectiveEchoSpacing": 0.001})").readout(65)->seconds, 0.064);
  EXPECT_FALSE(read("{}").readout(65));
}

TEST_F(SidecarFile, AReadoutThatIsNoTimeIsRefused) {
  for (const char* value : {"\"0.05\"", "null", "-0.05", "0", "[0.05]"})
    EXPECT_THAT(readoutFailure("{\"TotalReadoutTime\": " + std::string(value) + "}"),
                AllOf(StartsWith(name), HasSubstr("TotalReadoutTime")))
        << value;
  EXPECT_THAT(readoutFailure(R"({"TotalReadoutTime": 47.57})"),
              AllOf(HasSubstr(name), HasSubstr("47.57 s"), HasSubstr("milliseconds")));
  EXPECT_THAT(readoutFailure(R"({"EffectiveEchoSpacing": 0.00000001})"), HasSubstr(name));
}

TEST_F(SidecarFile, FaultsAreOneSentenceWithTheName) {
  const auto fault = [&](const std::string& text) { return failure([&] { read(text); }); };
  // NaN is not JSON.
  for (const char* text : {"", "{", "nonsense", R"({"TotalReadoutTime": NaN})", "{} {}"})
    EXPECT_EQ(fault(text), name + " is not valid JSON") << text;
  for (const char* text : {"[]", "3", "\"j\"", "null"})
    EXPECT_EQ(fault(text), name + " is JSON, but not an object with named fields");
  EXPECT_THAT(failure([&] { bids::Sidecar(folder.file("none.json")); }),
              StartsWith(folder.file("none.json") + " cannot be opened"));
  EXPECT_THAT(failure([&] { bids::Sidecar(folder.file("")); }), HasSubstr("is a directory"));
  for (const char* value : {"\"y\"", "\"j--\"", "\"\"", "1", "null", "\"J\""})
    EXPECT_THAT(
        failure([&] {
          static_cast<void>(
              read("{\"PhaseEncodingDirection\": " + std::string(value) + "}").phaseEncoding());
        }),
        StartsWith(name))
        << value;
}

}  // namespace mirel
