#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "cli/axespair.h"

namespace mirel {

// Every sentence that tells not to trust a result, or what was assumed: where there is a reason it
// must be said, and without one it must not.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* untrusted = "do not trust this result";

class Doubts : public AxesPair {
 protected:
  void write(const std::string& name, const std::string& text) const {
    std::ofstream(file(name)) << text;
  }
  std::string copied(const std::string& image, const std::string& name) const {
    fs::copy(image, file(name));
    return file(name);
  }
  /// The warnings and notes of a run.
  std::string said(const std::vector<std::string>& words) const {
    std::vector<std::string> all = words;
    // The tests run over several pairs.
    all.insert(all.end(), {"-o", file("out"), "--overwrite"});
    const ProgramResult result = runMirel(all);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.err;
  }
};

class DoubtsAlong : public Doubts, public testing::WithParamInterface<char> {};
INSTANTIATE_TEST_SUITE_P(Axes, DoubtsAlong, testing::Values('i', 'j', 'k'),
                         [](const auto& each) { return std::string(1, each.param); });

TEST_P(DoubtsAlong, ThereAreNoneAboutAGoodPair) {
  const std::string text =
      correct(GetParam(), {"--modulate", "--apply", bold(GetParam())}, "out").err;
  EXPECT_THAT(text, AllOf(Not(HasSubstr("Warning")), Not(HasSubstr("CHECK")),
                          Not(HasSubstr("could not be checked"))));
}

TEST_P(DoubtsAlong, TwoImagesOfOneDirectionGetWorse) {
  // Claimed to be a pair: what little the search finds in them is noise.
  const std::string direction(1, GetParam());
  EXPECT_THAT(said({"correct", bold(GetParam()), bold(GetParam()), "--volume-b", "1", "--pe-a",
                    direction, "--pe-b", direction + "-", "--ic", "--quiet"}),
              AllOf(HasSubstr("Warning: the corrected images agree less (0."),
                    HasSubstr(") than the images as they came (0."), HasSubstr(untrusted)));
}

// Only the in-plane axes are tried: a pair along k is not found to be one.
TEST_F(Doubts, AnotherAxisIsToldOfByWhatSaysSo) {
  const struct {
    char truth;
    std::string stated;
  } cases[] = {{'i', "j"}, {'j', "i"}, {'j', "k"}};
  for (const auto& [truth, stated] : cases) {
    EXPECT_THAT(said({"correct", ap(truth), pa(truth), "--pe-a", stated + "-", "--pe-b", stated,
                      "--quiet"}),
                AllOf(HasSubstr("Warning: CHECK THE AXIS in the direction given for " + ap(truth) +
                                " and the direction given for " + pa(truth) + ": they say " +
                                stated + "- and " + stated),
                      HasSubstr(std::string("ran along ") + truth + " (")));
  }
}

TEST_P(DoubtsAlong, ASeriesOfTheWrongSignIsTold) {
  const std::string wrong(1, GetParam());  // all series are of the minus
  const std::string text =
      correct(GetParam(), {"--apply", bold(GetParam()), "--apply-pe", wrong, "--quiet"}, "out").err;
  EXPECT_THAT(text, AllOf(HasSubstr("Warning: CHECK THE SIGN in the direction given for " +
                                    bold(GetParam()) + ": it says " + wrong + ", but"),
                          HasSubstr("corrected as " + wrong + "-;")));
}

// A pair far apart for a search that starts from noise: its map is worse than its negative.
TEST_F(Doubts, AMapWhoseOppositeAgreesBetterIsNotTrusted) {
  ASSERT_EQ(runMirel({"phantom", file("far"), "--size", "32", "36", "20", "--voxel", "5.5", "5",
                      "6.25", "--volumes", "0", "--seed", "3"})
                .status,
            0);
  const std::string a = file("far/sub-phantom_dir-AP_epi.nii.gz");
  const std::string b = file("far/sub-phantom_dir-PA_epi.nii.gz");
  const std::string text =
      said({"correct", a, b, "--ssd", "--no-ic", "--intensity-scale", "0.5", "--quiet"});
  EXPECT_THAT(text,
              AllOf(HasSubstr("Warning: the opposite of the estimated map makes the images agree "
                              "better (0."),
                    HasSubstr("than the map itself (0."), HasSubstr(untrusted)));
}

TEST_F(Doubts, AForegroundOfNearlyNothingOrEverything) {
  const auto text = [&](const char* scale) {
    return said({"correct", ap('k'), pa('k'), "--fast", "--quiet", "--intensity-scale", scale});
  };
  for (const std::string& image : {ap('k'), pa('k')}) {
    EXPECT_THAT(text("0.00001"), HasSubstr("Warning: 0 % of the voxels of " + image));
    EXPECT_THAT(text("100000"), HasSubstr(" % of the voxels of " + image));
  }
  EXPECT_THAT(text("0.00001"), HasSubstr("nearly nothing counts as head (see --intensity-scale)"));
  EXPECT_THAT(text("100000"), HasSubstr("nearly everything counts as head"));
}

TEST_F(Doubts, SidecarsThatContradictThemselves) {
  const std::string a = copied(ap('j'), "a.nii.gz"), run = copied(bold('j'), "run.nii.gz");
  const json sidecar = {{"PhaseEncodingDirection", "j-"},
                        {"TotalReadoutTime", 0.04},
                        {"EffectiveEchoSpacing", 0.0002}};
  const std::string found =
      " contradicts itself: its TotalReadoutTime is 0.04 s, but its "
      "EffectiveEchoSpacing times (lines - 1) is 0.0062 s";
  write("a.json", sidecar.dump());
  write("run.json", sidecar.dump());
  const std::string text = said({"correct", a, pa('j'), "--fast", "--quiet", "--apply", run});
  for (const char* name : {"a.json", "run.json"})
    EXPECT_THAT(text, HasSubstr("Warning: " + file(name) + found));
  EXPECT_THAT(said({"apply", "--field", input('j', "desc-truth_fieldmap.nii.gz"), run, "--quiet"}),
              HasSubstr("Warning: " + file("run.json") + found));
}

TEST_F(Doubts, FewerLinesAcquiredThanTheReadoutTimeCounts) {
  const std::string a = copied(ap('j'), "a.nii.gz"), run = copied(bold('j'), "run.nii.gz");
  const json sidecar = {{"PhaseEncodingDirection", "j-"},
                        {"TotalReadoutTime", 0.0278},
                        {"EffectiveEchoSpacing", 0.0012},
                        {"AcquisitionMatrixPE", 24},
                        {"ReconMatrixPE", 32}};
  write("a.json", sidecar.dump());
  write("run.json", sidecar.dump());
  const std::string text = said({"correct", a, pa('j'), "--fast", "--apply", run});
  for (const std::string& image : {a, run})
    EXPECT_THAT(text, HasSubstr("Note: 24 of 32 lines of " + image + " were acquired"));
}

TEST_F(Doubts, ReadoutTimesThatDifferOrAreEstimates) {
  EXPECT_THAT(said({"correct", ap('i'), pa('i'), "--fast", "--quiet", "--readout", "0.04",
                    "--readout-b", "0.05"}),
              AllOf(HasSubstr("Warning: " + ap('i') + " has a readout time of 0.04 s (option), " +
                              pa('i') + " one of 0.05 s (option)"),
                    HasSubstr("each is taken to be displaced by its own")));
  const std::string a = copied(ap('i'), "a.nii.gz");
  write("a.json", R"({"PhaseEncodingDirection": "i-", "EstimatedTotalReadoutTime": 0.04})");
  EXPECT_THAT(said({"correct", a, pa('i'), "--fast"}),
              HasSubstr("Note: the readout time in " + file("a.json") + " is an estimate"));
}

// Voxels of the pair are right for a series of its readout time alone, whatever that is.
TEST_F(Doubts, ReadoutTimesOfSeriesWhereThatOfThePairIsNotKnown) {
  const std::string a = copied(ap('i'), "a.nii.gz"), b = copied(pa('i'), "b.nii.gz");
  const std::string one = copied(bold('i'), "one.nii.gz"), two = copied(bold('i'), "two.nii.gz");
  write("one.json", R"({"PhaseEncodingDirection": "i-", "TotalReadoutTime": 0.03})");
  write("two.json", R"({"PhaseEncodingDirection": "i-", "TotalReadoutTime": 0.0302})");
  const std::vector<std::string> words = {"correct", a,         b,   "--pe-a",  "i-", "--pe-b", "i",
                                          "--fast",  "--apply", one, "--apply", two,  "--quiet"};
  const std::string unknown = ", but that of " + a + " and " + b + " is not known";
  const std::string text = said(words);
  for (const std::string& time : {one + " has a readout time of 0.03 s (TotalReadoutTime in ",
                                  two + " has a readout time of 0.0302 s (TotalReadoutTime in "})
    EXPECT_THAT(text, HasSubstr("Warning: " + time));
  EXPECT_THAT(text, HasSubstr(unknown + ": it is taken to be the same"));
  // What voxels are in Hz nobody knows: nothing is told of that.
  EXPECT_FALSE(json::parse(textOf(file("out/one_desc-preproc.json")))["Mirel"]["Series"].contains(
      "TotalReadoutTime"));

  write("two.json", R"({"PhaseEncodingDirection": "i-", "TotalReadoutTime": 0.05})");
  std::vector<std::string> again = words;
  again.insert(again.end(), {"-o", file("refused")});
  const ProgramResult refused = runMirel(again);
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err,
              AllOf(HasSubstr("Error: " + one + " has a readout time of 0.03 s"),
                    HasSubstr(" and " + two + " one of 0.05 s"), HasSubstr(unknown),
                    HasSubstr("not right for both; give the total readout time in seconds with "
                              "--readout")));
  EXPECT_FALSE(fs::exists(file("refused")));
  again.insert(again.end(), {"--readout", "0.04"});
  EXPECT_EQ(runMirel(again).status, 0);
}

TEST_F(Doubts, WhatIsAssumedIsNoted) {
  const std::string a = copied(ap('k'), "a.nii.gz"), run = copied(bold('k'), "run.nii.gz");
  EXPECT_THAT(said({"correct", a, pa('k'), "--fast", "--apply", run}),
              AllOf(HasSubstr("Note: " + a +
                              " has neither a sidecar nor an option: its "
                              "phase-encoding direction is taken to be the opposite of that of " +
                              pa('k') + ", k-"),
                    HasSubstr("Note: " + a + " has no readout time of its own"),
                    HasSubstr("Note: " + run +
                              " has no sidecar: its phase encoding is taken to be "
                              "that of " +
                              a + ", k-"),
                    HasSubstr("Note: " + run + " has no sidecar: its readout time")));
  const std::string moved = correct('k', {}, "moved").err;
  EXPECT_THAT(moved, HasSubstr("Note: the map and the field hold the distortion with the head "
                               "where it was in " +
                               ap('k')));
}

}  // namespace

}  // namespace mirel
