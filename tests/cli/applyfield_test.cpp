#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/program.h"
#include "field/fieldhz.h"
#include "field/series.h"
#include "field/seriesfiles.h"

namespace mirel {

// "mirel apply --field" as a user runs it.

namespace {

using namespace seriesfiles;
using niftifiles::writeText;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr glm::ivec3 dims{10, 12, 7};

class ApplyField : public testing::Test {
 protected:
  void SetUp() override {
    header.type = nifti::DataType::int16;
    writeImage(run, header, [](int t) { return smoothImage(dims, t); });
    const Grid fieldGrid{{14, 14, 12}, affineOf({4, 5, 5}, -5, {-45, -60, -20})};
    const Volume<float> hz = sampled(fieldGrid, [](glm::dvec3 mm) { return 20 + 1.5 * mm.x; });
    writeField({hz, fieldGrid.affine, "f"}, headerOf(fieldGrid.dims, fieldGrid.affine), field);
    sidecar("j-", 0.05);
  }

  void sidecar(const std::string& direction, double readout) const {
    writeText(folder.file("sub-1_bold.json"), json({{"PhaseEncodingDirection", direction},
                                                    {"TotalReadoutTime", readout},
                                                    {"EchoTime", 0.03}})
                                                  .dump());
  }

  ProgramResult apply(const std::vector<std::string>& more, const std::string& image = {}) const {
    std::vector<std::string> arguments = {"apply", "--field", field, image.empty() ? run : image};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runMirel(arguments);
  }

  Volume<float> expected(int t, bids::PhaseEncodingDirection direction, double readout,
                         Modulation modulation = Modulation::off) const {
    nifti::Reader image(run);
    return correctVolume(image.readVolume(t),
                         shiftVoxels(readField(field), image.header(), direction, readout),
                         direction.axis, modulation);
  }

  TemporaryFolder folder;
  const std::string run = folder.file("sub-1_bold.nii.gz");
  const std::string field = folder.file("field.nii.gz");
  const std::string out = folder.file("out");
  const std::string corrected = out + "/sub-1_desc-preproc_bold.nii.gz";
  nifti::Header header = headerOf(dims, affineOf({3, 3, 4}, 10, {-30, -40, 5}), 3);
};

TEST_F(ApplyField, CorrectsByTheSidecar) {
  const ProgramResult result = apply({"-o", out});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            corrected + "\n" + out + "/sub-1_desc-preproc_bold.json\n" + out + "/report.html\n");
  EXPECT_THAT(result.err,
              HasSubstr("sub-1_bold.nii.gz: 3 volumes, phase encoding j-, readout 0.05 s "
                        "(TotalReadoutTime), both from sub-1_bold.json, "));
  nifti::Reader image(corrected);
  EXPECT_EQ(image.header().type, nifti::DataType::int16);
  EXPECT_EQ(image.header().volumes, 3);
  EXPECT_EQ(image.header().affine(), nifti::Reader(run).header().affine());
  EXPECT_LE(largestDifference(image.readVolume(2), expected(2, {1, -1}, 0.05)), 0.5);
  EXPECT_GT(largestDifference(image.readVolume(2), expected(2, {1, 1}, 0.05)), 50);
}

TEST_F(ApplyField, RecordsWhatItDid) {
  ASSERT_EQ(apply({"-o", out, "--modulate"}).status, 0);
  const json record = json::parse(textOf(out + "/sub-1_desc-preproc_bold.json"));
  EXPECT_EQ(record["EchoTime"], 0.03);
  EXPECT_EQ(record["Sources"], json({"../sub-1_bold.nii.gz", "../field.nii.gz"}));
  EXPECT_EQ(record["Mirel"]["Field"]["SHA256"].get<std::string>().size(), 64u);
  EXPECT_EQ(record["Mirel"]["Options"]["Modulation"], true);
  EXPECT_EQ(record["Mirel"]["Series"]["PhaseEncodingDirection"], "j-");
  EXPECT_EQ(record["Mirel"]["Series"]["TotalReadoutTime"]["Source"], "TotalReadoutTime");
  EXPECT_FALSE(record["Mirel"]["Series"].contains("SignCheck"));
}

TEST_F(ApplyField, OptionsComeBeforeTheSidecar) {
  ASSERT_EQ(apply({"-o", out, "--pe", "k", "--readout", "0.03", "--float", "--modulate",
                   "--threads", "2"})
                .status,
            0);
  nifti::Reader image(corrected);
  EXPECT_EQ(image.header().type, nifti::DataType::float32);
  EXPECT_TRUE(image.readVolume(1) == expected(1, {2, 1}, 0.03, Modulation::on));
}

TEST_F(ApplyField, SidecarsHigherUpInTheDatasetCountToo) {
  const std::string above = folder.file("bold.json"), own = folder.file("sub-1/sub-1_bold.json");
  writeText(folder.file("dataset_description.json"), "{}");
  writeText(above, R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.05})");
  std::filesystem::create_directory(folder.file("sub-1"));
  for (const char* name : {"sub-1_bold.nii.gz", "sub-1_bold.json"})
    std::filesystem::rename(folder.file(name), folder.file("sub-1/" + std::string(name)));
  writeText(own, R"({"PhaseEncodingDirection": "j-", "TaskName": "rest"})");
  const ProgramResult result = apply({"-o", out}, folder.file("sub-1/sub-1_bold.nii.gz"));
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("phase encoding j- (sub-1_bold.json), readout 0.05 s "
                                    "(TotalReadoutTime in " +
                                    above + ")"));
  const json record = json::parse(textOf(out + "/sub-1_desc-preproc_bold.json"));
  EXPECT_EQ(record["TaskName"], "rest");
  const json& series = record["Mirel"]["Series"];
  EXPECT_EQ(series["Sidecar"], json({above, own}));
  EXPECT_EQ(series["SidecarSHA256"].size(), 2u);
  EXPECT_EQ(series["PhaseEncodingDirectionSource"], own);
  EXPECT_EQ(series["TotalReadoutTime"]["File"], above);
}

TEST_F(ApplyField, WithoutASidecarOptionsAreEnough) {
  std::filesystem::remove(folder.file("sub-1_bold.json"));
  const ProgramResult missing = apply({"-o", out});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.err, HasSubstr("PhaseEncodingDirection; give it with --pe"));
  EXPECT_THAT(apply({"-o", out, "--pe", "i-"}).err, HasSubstr("in seconds with --readout"));
  EXPECT_FALSE(std::filesystem::exists(out));
  EXPECT_EQ(apply({"-o", out, "--pe", "i-", "--readout", "0.04", "--quiet"}).status, 0);
  EXPECT_LE(largestDifference(nifti::Reader(corrected).readVolume(0), expected(0, {0, -1}, 0.04)),
            0.5);
}

TEST_F(ApplyField, OneRunMayNameItsOutput) {
  const std::string image = folder.file("clean.nii");
  const ProgramResult result = apply({"-o", image, "--warp", "--quiet"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(std::filesystem::exists(image));
  EXPECT_TRUE(std::filesystem::exists(folder.file("clean.json")));
  EXPECT_TRUE(
      std::filesystem::exists(folder.file("clean_from-orig_to-undistorted_mode-image_xfm.nii.gz")));
  const ProgramResult two =
      apply({folder.file("field.nii.gz"), "-o", image, "--pe", "j", "--readout", "0.05"});
  EXPECT_EQ(two.status, 1);
  EXPECT_THAT(two.err, HasSubstr("is the name of one image, but 2 series"));
}

TEST_F(ApplyField, GradientFilesGoAlong) {
  writeText(folder.file("sub-1_bold.bval"), "0 700 700\n");
  ASSERT_EQ(apply({"-o", out}).status, 0);
  EXPECT_EQ(textOf(out + "/sub-1_desc-preproc_bold.bval"), "0 700 700\n");
}

TEST_F(ApplyField, AWrongSignIsToldLoudlyAndNamesTheSidecar) {
  // The reference is what the right direction yields.
  ASSERT_EQ(apply({"-o", folder.file("truth.nii"), "--float"}).status, 0);
  sidecar("j", 0.05);
  const ProgramResult wrong = apply({"-o", out, "--reference", folder.file("truth.nii")});
  EXPECT_EQ(wrong.status, 0);
  EXPECT_THAT(wrong.err, HasSubstr("Warning: CHECK THE SIGN in " + folder.file("sub-1_bold.json")));
  sidecar("j-", 0.05);
  const ProgramResult right = apply({"-o", out, "--reference", folder.file("truth.nii")});
  EXPECT_THAT(right.err, testing::AllOf(HasSubstr("the sign is right"),
                                        HasSubstr("normalised mutual information with the "
                                                  "reference (1 none, 2 full) 2.0000, with")));
  EXPECT_THAT(right.err, testing::Not(HasSubstr("CHECK")));
}

TEST_F(ApplyField, AHeadThatSticksOutOfTheFieldIsDoubted) {
  const Grid part{{14, 14, 3}, affineOf({4, 5, 5}, -5, {-45, -60, 10})};
  writeField({Volume<float>(part.dims, 5.0f), part.affine, "f"}, headerOf(part.dims, part.affine),
             field);
  const ProgramResult result = apply({"-o", out, "--quiet"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err,
              testing::AllOf(StartsWith("Warning: "), HasSubstr(" % of the head in " + run +
                                                                " lies off the grid of " + field)));
}

TEST_F(ApplyField, NothingIsSkippedSilently) {
  Volume<float> hz(dims, 10.0f);
  hz.at(0, 0, 0) = NAN;
  writeImage(field, headerOf(dims, header.affine()), [&](int) { return hz; });
  const ProgramResult result = apply({"-o", out});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, HasSubstr("Warning: " + field +
                                    " has 1 NaN or infinite voxel, which counts as 0 Hz"));
}

TEST_F(ApplyField, FaultsAreOneSentenceAndLeaveNothing) {
  writeText(folder.file("run.fmr"), "");
  writeText(folder.file("text.json"), "no json");
  writeText(folder.file("short.nii.gz"), textOf(run).substr(0, textOf(run).size() / 2));
  const auto before = folder.names();
  const auto refused = [&](const ProgramResult& result, const std::string& text) {
    EXPECT_EQ(result.status, 1) << text;
    EXPECT_THAT(result.err, HasSubstr(text));
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(folder.names(), before) << text;
  };
  refused(apply({"-o", out}, folder.file("run.fmr")), "--vdm corrects projects");
  refused(apply({"-o", out}, folder.file("none.nii")), "none.nii does not exist");
  refused(apply({"-o", out, "--sidecar", folder.file("text.json")}), "is not valid JSON");
  refused(apply({"-o", run}), "overwrite");
  const Grid far{{3, 3, 3}, affineOf({4, 4, 4}, 0, {500, 0, 0})};
  const std::string elsewhere = out + ".nii";
  writeField({Volume<float>(far.dims, 5.0f), far.affine, "f"}, headerOf(far.dims, far.affine),
             elsewhere);
  const ProgramResult lost = runMirel({"apply", "--field", elsewhere, run, "-o", out});
  std::filesystem::remove(elsewhere);
  refused(lost, "have no place in common");
  refused(apply({"-o", out, "--readout", "50"}), "is it in milliseconds?");
  refused(apply({"-o", out, "--pe", "j", "--readout", "0.05"}, folder.file("short.nii.gz")),
          "short.nii.gz is truncated");
  refused(runMirel({"apply", "--field", run, run, "-o", out}), "a field has one");
  refused(runMirel({"apply", "--field", folder.file(""), run, "-o", out}), "is a directory");
  refused(apply({"-o", folder.file("text.json") + "/out"}), "text.json");
}

TEST_F(ApplyField, UsageMistakesHaveTheirOwnStatus) {
  for (const std::vector<std::string>& more : {std::vector<std::string>{},
                                               {"-o", out, "--pe", "AP"},
                                               {"-o", out, "--readout", "-1"},
                                               {"-o", out, "--threads", "0"},
                                               {"-o", out, "--vdm", "a.map"},
                                               {"-o", out, "--rllr"}})
    EXPECT_EQ(apply(more).status, 2);
  EXPECT_EQ(runMirel({"apply", "--vdm", "a.map", "run.fmr", "--modulate"}).status, 2);
}

}  // namespace

}  // namespace mirel
