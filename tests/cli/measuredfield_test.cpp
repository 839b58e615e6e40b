#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "cli/fieldfiles.h"

namespace mirel {

// "mirel field" on what a scanner measures, as a user runs it: phases made of the simulated head's
// true field.

namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr double pi = std::numbers::pi;

class MeasuredFieldCommand : public FieldFiles {
 protected:
  static double angle(float hz, double seconds) {
    return std::remainder(2 * pi * seconds * static_cast<double>(hz), 2 * pi);
  }
  // As a scanner stores it, in 12 bits.
  std::string phase(const std::string& name, double seconds) const {
    return changed(field(), name, [=](float hz) {
      return static_cast<float>(
          std::min(4095.0, std::round(2048 + 2048 / pi * angle(hz, seconds))));
    });
  }
  std::string phasediff() const {
    sidecar("sub-1_phasediff.json", {{"EchoTime1", 0.005}, {"EchoTime2", 0.015}});
    return phase("sub-1_phasediff.nii.gz", 0.01);
  }
  std::string magnitude(const std::string& name = "sub-1_magnitude1.nii.gz") const {
    return bare(truth("undistorted_epi.nii.gz"), name);
  }
  ProgramResult make(const std::vector<std::string>& from,
                     const std::string& name = "r.nii.gz") const {
    std::vector<std::string> words = {"field"};
    words.insert(words.end(), from.begin(), from.end());
    words.insert(words.end(), {"-o", file(name)});
    return runMirel(words);
  }
  double rms(const std::string& name = "r.nii.gz") const {
    return rmsInBrain(imageIn(file(name)), imageIn(field()));
  }
};

TEST_F(MeasuredFieldCommand, APhaseDifferenceBecomesAFieldThatCorrects) {
  magnitude();
  const ProgramResult result = make({"--from-phase", phasediff()}, "f_fieldmap.nii.gz");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, file("f_fieldmap.nii.gz") + "\n" + file("f_fieldmap.json") + "\n");
  EXPECT_THAT(result.err,
              AllOf(HasSubstr("taken to be 0 .. 4095 (range of the values)"),
                    HasSubstr("echoes at 5 and 15 ms"), HasSubstr("a whole turn is 100.0 Hz"),
                    HasSubstr("the magnitude is " + file("sub-1_magnitude1.nii.gz")),
                    HasSubstr("the median in the head")));
  EXPECT_LT(rms("f_fieldmap.nii.gz"), 1);
  EXPECT_GT(fidelity("--field", file("f_fieldmap.nii.gz"), ap()), faithful);
}

TEST_F(MeasuredFieldCommand, TheSidecarTellsWhereItComesFrom) {
  const std::string head = magnitude("m.nii.gz");
  ASSERT_EQ(make({"--from-phase", phasediff(), "--magnitude", head}).status, 0);
  const auto record = nlohmann::json::parse(textOf(file("r.json")));
  EXPECT_EQ(record.at("Units"), "Hz");
  EXPECT_EQ(record.at("Sources").front(), "sub-1_phasediff.nii.gz");
  const auto& origin = record.at("Mirel");
  EXPECT_EQ(origin.at("Phases").at(0).at("PhaseScale"), "0 .. 4095");
  EXPECT_EQ(origin.at("Phases").at(0).at("SHA256").get<std::string>().size(), 64U);
  EXPECT_EQ(origin.at("EchoTimes"), nlohmann::json({0.005, 0.015}));
  EXPECT_EQ(origin.at("Magnitude").at("File"), head);
  EXPECT_GT(origin.at("Figures").at("Voxels"), 1000);
}

TEST_F(MeasuredFieldCommand, TwoPhasesDoInEitherOrder) {
  magnitude();
  const std::string one = phase("sub-1_phase1.nii.gz", 0.012),
                    two = phase("sub-1_phase2.nii.gz", 0.02);
  sidecar("sub-1_phase1.json", {{"EchoTime", 0.012}});
  sidecar("sub-1_phase2.json", {{"EchoTime", 0.02}});
  EXPECT_THAT(refusal(make({"--from-phase", two})),
              HasSubstr("is the phase of one echo by its name; a field takes both"));
  ASSERT_EQ(make({"--from-phase", one, two}).status, 0);
  EXPECT_LT(rms(), 1);
  ASSERT_EQ(make({"--from-phase", two, one}, "s.nii.gz").status, 0);
  EXPECT_LT(rms("s.nii.gz"), 1);
}

TEST_F(MeasuredFieldCommand, ThreePhasesAndMoreDo) {
  magnitude();
  std::vector<std::string> words = {"--from-phase"};
  for (int echo = 1; echo <= 4; ++echo) {
    const std::string stem = "sub-1_echo-" + std::to_string(echo) + "_part-phase_MEGRE";
    words.push_back(phase(stem + ".nii.gz", 0.005 * echo));
    sidecar(stem + ".json", {{"EchoTime", 0.005 * echo}});
  }
  words.insert(words.end(), {"--magnitude", file("sub-1_magnitude1.nii.gz")});
  const ProgramResult result = make(words);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_LT(rms(), 1);
  EXPECT_THAT(result.err, HasSubstr("the echoes at 5 and 10 and 15 and 20 ms"));
  const auto origin = nlohmann::json::parse(textOf(file("r.json"))).at("Mirel");
  EXPECT_EQ(origin.at("Phases").size(), 4U);
  EXPECT_EQ(origin.at("EchoTimes"), nlohmann::json({0.005, 0.01, 0.015, 0.02}));
  words.insert(words.end(), {"--echo-times", "0.005", "0.01"});
  EXPECT_THAT(make(words, "s.nii.gz").err, HasSubstr("2 echo times are given for 4 echoes"));
}

TEST_F(MeasuredFieldCommand, EchoTimesCanBeGivenAndUnitsTellRadians) {
  const std::string head = magnitude();
  const std::string radians =
      changed(field(), "p.nii.gz", [](float hz) { return static_cast<float>(angle(hz, 0.003)); });
  EXPECT_THAT(refusal(make({"--from-phase", radians, "--magnitude", head})),
              HasSubstr("which is no scale of phases that is known"));
  sidecar("p.json", {{"Units", "rad"}});
  EXPECT_THAT(refusal(make({"--from-phase", radians, "--magnitude", head})),
              AllOf(HasSubstr("p.json has no EchoTime1"), HasSubstr("--echo-times")));
  ASSERT_EQ(
      make({"--from-phase", radians, "--magnitude", head, "--echo-times", "0.004", "0.007"}).status,
      0);
  EXPECT_LT(rms(), 1);
}

TEST_F(MeasuredFieldCommand, EchoTimesThatSidecarsContradictAreWarnedOf) {
  magnitude();
  const std::string difference = phasediff();
  const ProgramResult result = make({"--from-phase", difference, "--echo-times", "0.005", "0.02"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("Warning: the echo time of 0.02 s given for echo 2 is not that "
                                    "of the sidecars (" +
                                    file("sub-1_phasediff.json") + "), 0.015 s"));
  EXPECT_THAT(textOf(file("r.json")), HasSubstr("given for echo 2 is not that"));
  EXPECT_THAT(make({"--from-phase", difference, "--echo-times", "0.005", "0.015"}).err,
              testing::Not(HasSubstr("Warning")));
}

TEST_F(MeasuredFieldCommand, AFieldInOtherUnitsBecomesHertz) {
  magnitude();
  const std::string measured = scaled(field(), "sub-1_fieldmap.nii.gz", 2 * pi);
  sidecar("sub-1_fieldmap.json", {{"Units", "rad/s"}});
  const ProgramResult result = make({"--from-fieldmap", measured});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_LT(rms(), 1);
  EXPECT_THAT(textOf(file("r.json")), HasSubstr("\"rad/s\""));
}

TEST_F(MeasuredFieldCommand, FaultsAreOneSentenceAndLeaveNothing) {
  const std::string difference = phasediff();
  const std::string head = magnitude();
  EXPECT_THAT(refusal(make({"--from-phase", head})), HasSubstr("is a magnitude by its name"));
  EXPECT_THAT(
      refusal(make({"--from-phase", bare(head, "q.nii.gz"), "--echo-times", "0.01", "0.02"})),
      HasSubstr("q.nii.gz runs from "));
  EXPECT_THAT(refusal(make({"--from-phase", difference, "--magnitude", file("none.nii.gz")})),
              HasSubstr("none.nii.gz"));
  EXPECT_THAT(refusal(make({"--from-phase", difference, "--echo-times", "5", "15"})),
              HasSubstr("may be in milliseconds"));
  const std::string flat = changed(head, "flat.nii.gz", [](float) { return 0.0F; });
  EXPECT_THAT(refusal(make({"--from-phase", difference, "--magnitude", flat})),
              HasSubstr("shows no head"));
  EXPECT_THAT(refusal(make({"--from-phase", difference}, "sub-1_phasediff.nii.gz")),
              HasSubstr("sub-1_phasediff.nii.gz"));
  EXPECT_THAT(refusal(make({"--from-phase", difference}, "r.txt")), HasSubstr("neither .nii nor"));
}

TEST_F(MeasuredFieldCommand, OptionsOfOtherSourcesAreNoUsage) {
  EXPECT_EQ(make({"--from-phase", "p.nii", "--readout", "0.05"}).status, 2);
  EXPECT_EQ(make({"--from-phase", "p.nii", "--from-fieldmap", "f.nii"}).status, 2);
  EXPECT_EQ(make({"--from-map", "m.map", "--reference", "a.nii", "--echo-times", "1", "2"}).status,
            2);
  EXPECT_EQ(make({"--from-map", "m.map"}).status, 2);
}

}  // namespace

}  // namespace mirel
