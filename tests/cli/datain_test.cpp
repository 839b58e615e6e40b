#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/plainimage.h"
#include "cli/program.h"
#include "support/temporaryfolder.h"

namespace mirel {

// "mirel correct --datain": directions and readout times from a table in place of sidecars.

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

/// A small pair of a head with phase encoding along `axis`, without its sidecars: "j-" (or "i-")
/// and "j" (or "i"), in images whose first axis runs to the right.
class DataIn : public testing::Test {
 protected:
  void makePair(char axis = 'j') {
    const ProgramResult made =
        runMirel({"phantom", folder.file("head"), "--size", "32", "36", "24", "--voxel", "5",
                  "--max-shift", "3", "--direction", std::string(1, axis)});
    ASSERT_EQ(made.status, 0) << made.err;
    if (axis == 'i') names = {"RL", "LR"};
    for (const std::string& of : names)
      fs::rename(folder.file("head/sub-phantom_dir-" + of + "_epi.json"),
                 folder.file(of + ".json"));
  }
  std::string image(const std::string& of) const {
    return folder.file("head/sub-phantom_dir-" + of + "_epi.nii.gz");
  }
  std::string ap() const { return image(names[0]); }
  std::string pa() const { return image(names[1]); }
  std::string table(const std::string& rows) const { return folder.write("acq.txt", rows); }

  ProgramResult correct(std::vector<std::string> words, const std::string& out) const {
    words.insert(words.begin(), "correct");
    words.insert(words.end(), {"-o", folder.file(out)});
    return runMirel(words);
  }
  /// The only file of the folder whose name ends so.
  std::string result(const std::string& out, const std::string& ending) const {
    std::string found;
    for (const auto& entry : fs::directory_iterator(folder.file(out)))
      if (entry.path().string().ends_with(ending)) found = entry.path().string();
    return found;
  }
  PlainImage field(const std::string& out) const {
    return PlainImage(result(out, "_fieldmap.nii.gz"));
  }
  json record(const std::string& out) const {
    std::ifstream is(result(out, "_fieldmap.json"));
    return json::parse(is)["Mirel"];
  }
  /// Corrects the pair by options: what a table has to amount to.
  void correctByOptions(const std::string& peA, const std::string& peB) const {
    const ProgramResult run = correct(
        {ap(), pa(), "--pe-a", peA, "--pe-b", peB, "--readout", "0.05", "--quiet"}, "options");
    ASSERT_EQ(run.status, 0) << run.err;
  }

  TemporaryFolder folder;
  std::vector<std::string> names{"AP", "PA"};
};

TEST_F(DataIn, ARowPerImageSaysWhatTheOptionsSay) {
  makePair();
  correctByOptions("j-", "j");
  const ProgramResult run =
      correct({ap(), pa(), "--datain", table("0 -1 0 0.05\n0 1 0 0.05\n")}, "out");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.err,
              AllOf(HasSubstr("phase encoding j-, readout 0.05 s (acquisition table), both "
                              "from " +
                              folder.file("acq.txt")),
                    Not(HasSubstr("Warning")), Not(HasSubstr("Note"))));
  EXPECT_EQ(field("out").values(), field("options").values());
  const json image = record("out")["Inputs"][0];
  EXPECT_EQ(image["PhaseEncodingDirection"], "j-");
  EXPECT_EQ(image["PhaseEncodingDirectionSource"], folder.file("acq.txt"));
  EXPECT_EQ(image["AcquisitionTable"]["File"], folder.file("acq.txt"));
  EXPECT_EQ(image["AcquisitionTable"]["SHA256"].get<std::string>().size(), 64U);
}

TEST_F(DataIn, AMergedFileHasARowPerVolume) {
  makePair();
  correctByOptions("j-", "j");
  const PlainImage a(ap()), b(pa());
  const std::string merged = folder.file("imain.nii.gz");
  a.withAppended(a).withAppended(b).withAppended(b).write(merged);
  const std::string rows = table("0 -1 0 0.05\n0 -1 0 0.05\n0 1 0 0.05\n0 1 0 0.05\n");

  ProgramResult run = correct({merged, "--datain", rows}, "out");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.err, HasSubstr("has 4 volumes, of which 2 volumes make the pair, from volume 0 "
                                 "and from volume 2 on"));
  EXPECT_EQ(field("out").values(), field("options").values());
  EXPECT_EQ(record("out")["Inputs"][1]["Volume"], 2);

  run = correct({merged, "--datain", rows, "--volume", "3", "--mean-b", "2"}, "other");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.err, HasSubstr("of which 3 volumes make the pair, from volume 3 and from "
                                 "volume 0 on"));
  EXPECT_EQ(record("other")["Inputs"][0]["PhaseEncodingDirection"], "j");
  EXPECT_EQ(record("other")["Inputs"][1]["MeanOfVolumes"], 2);

  run = correct({merged, "--datain", rows, "--mean", "3"}, "mixed");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr("whose mean is to be taken differ: row 1 (0 -1 0 0.05) and row 3 "
                                 "(0 1 0 0.05)"));
}

TEST_F(DataIn, TwoFilesOfSeveralVolumesTakeTheRowsOfTheMergedFile) {
  makePair();
  correctByOptions("j-", "j");
  const PlainImage a(ap());
  a.withAppended(a).write(folder.file("two.nii.gz"));
  const ProgramResult run =
      correct({folder.file("two.nii.gz"), pa(), "--volume", "1", "--volume-b", "0", "--datain",
               table("1 0 0 0.05\n0 -1 0 0.05\n0 1 0 0.05\n")},
              "out");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(field("out").values(), field("options").values());
}

// The table speaks about the axes of programs that turn an image so that its first axis points to
// the left: how the file is stored makes no difference to it, nor to the field in space.
TEST_F(DataIn, OneTableFitsAnImageHoweverItsFirstAxisIsStored) {
  makePair('i');
  correctByOptions("i-", "i");
  const std::string rows = table("1 0 0 0.05\n-1 0 0 0.05\n");
  ProgramResult run = correct({ap(), pa(), "--datain", rows}, "right");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.err, HasSubstr("neurological order"));
  EXPECT_EQ(field("right").values(), field("options").values());

  const std::string ap2 = folder.file("dir-AP_epi.nii.gz"), pa2 = folder.file("dir-PA_epi.nii.gz");
  PlainImage(ap()).withReversed(0).write(ap2);
  PlainImage(pa()).withReversed(0).write(pa2);
  run = correct({ap2, pa2, "--datain", rows}, "left");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.err, Not(HasSubstr("neurological order")));
  EXPECT_EQ(record("left")["Inputs"][0]["PhaseEncodingDirection"], "i");
  const PlainImage left = field("left");
  EXPECT_LT(left.sform(0, 0), 0);
  EXPECT_LT(largestDifference(left.withReversed(0).values(), field("options").values()), 0.1);
}

TEST_F(DataIn, WithoutOrientationTheFirstAxisIsDoubtedAloud) {
  makePair('i');
  PlainImage(ap()).withoutOrientation().write(ap());
  PlainImage(pa()).withoutOrientation().write(pa());
  const ProgramResult run =
      correct({ap(), pa(), "--datain", table("1 0 0 0.05\n-1 0 0 0.05\n")}, "out");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.err, HasSubstr("has no orientation: it is taken to be stored in radiological "
                                 "order"));
  EXPECT_EQ(record("out")["Inputs"][0]["PhaseEncodingDirection"], "i");
}

TEST_F(DataIn, ASidecarThatSaysOtherwiseIsAWarning) {
  makePair();
  for (const char* of : {"AP", "PA"})
    fs::rename(folder.file(std::string(of) + ".json"),
               folder.file("head/sub-phantom_dir-" + std::string(of) + "_epi.json"));
  ProgramResult run = correct({ap(), pa(), "--datain", table("0 -1 0 0.05\n0 1 0 0.05\n")}, "same");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.err, Not(HasSubstr("Warning")));

  run = correct({ap(), pa(), "--datain", table("0 1 0 0.06\n0 -1 0 0.06\n")}, "out");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.err, HasSubstr("the phase-encoding direction j, " +
                                 folder.file("head/sub-phantom_dir-AP_epi.json") +
                                 " says j-: the table counts"));
  EXPECT_THAT(run.err, HasSubstr("a readout time of 0.06 s, TotalReadoutTime in " +
                                 folder.file("head/sub-phantom_dir-AP_epi.json") +
                                 " 0.05 s: the table counts"));
}

TEST_F(DataIn, WhatDoesNotFitIsRefusedInOneSentence) {
  makePair();
  const auto refused = [&](const std::vector<std::string>& words) {
    const ProgramResult run = correct(words, "none");
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(fs::exists(folder.file("none")));
    return run.err;
  };
  const std::string merged = folder.file("imain.nii.gz");
  PlainImage(ap()).withAppended(PlainImage(pa())).write(merged);
  EXPECT_THAT(refused({merged, "--datain", table("0 1 0 0.05\n0 -1 0 0.05\n0 1 0 0.05\n")}),
              HasSubstr("has 3 rows, but " + merged +
                        " has 2 volumes: it takes one row per "
                        "volume"));
  EXPECT_THAT(refused({ap(), pa(), "--datain", table("0 1 0 0.05\n")}),
              HasSubstr("have 1 volume and 1 volume: it takes one row per image"));
  EXPECT_THAT(refused({merged, "--datain", table("0 1 0 0.05\n0 1 0 0.05\n")}),
              HasSubstr("no row of the direction opposite to that of row 1 (0 1 0 0.05)"));
  EXPECT_THAT(refused({ap(), pa(), "--datain", table("0 1 0 0.05\n0 1 0 0.05\n")}),
              HasSubstr("a pair needs opposite phase-encoding directions"));
  EXPECT_THAT(refused({ap(), pa(), "--datain", folder.file("AP.json")}),
              HasSubstr("is no acquisition table"));
  EXPECT_THAT(refused({merged, "--volume", "2", "--datain", table("0 1 0 0.05\n0 -1 0 0.05\n")}),
              HasSubstr("there is no volume 2"));
}

TEST_F(DataIn, OptionsThatSayTheSameAreRefused) {
  makePair();
  const std::string rows = table("0 -1 0 0.05\n0 1 0 0.05\n");
  ProgramResult run = correct({ap(), pa(), "--datain", rows, "--pe-a", "j-"}, "out");
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, HasSubstr("--datain excludes"));
  run = correct({ap()}, "out");
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, HasSubstr("B is required"));
}

}  // namespace

}  // namespace mirel
