#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "files/mapfile.h"
#include "nifti/image.h"
#include "support/jsonfile.h"

namespace mirel {

// "mirel correct" as a user runs it: what it writes and what it says.

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class CorrectCommand : public CorrectPair {};

TEST_F(CorrectCommand, WritesAllOfItAndNamesTheFiles) {
  const ProgramResult result = correct({});
  ASSERT_EQ(result.status, 0) << result.err;
  const std::vector<std::string> expected = {
      "dataset_description.json",
      "report.html",
      "sub-phantom_desc-preproc_fieldmap.json",
      "sub-phantom_desc-preproc_fieldmap.nii.gz",
      "sub-phantom_desc-preproc_magnitude.json",
      "sub-phantom_desc-preproc_magnitude.nii.gz",
      "sub-phantom_dir-AP_desc-mm_vdm.json",
      "sub-phantom_dir-AP_desc-mm_vdm.nii.gz",
      "sub-phantom_dir-AP_desc-preproc_epi.json",
      "sub-phantom_dir-AP_desc-preproc_epi.nii.gz",
      "sub-phantom_dir-AP_desc-voxels_vdm.json",
      "sub-phantom_dir-AP_desc-voxels_vdm.nii.gz",
      "sub-phantom_dir-AP_from-orig_to-undistorted_mode-image_xfm.json",
      "sub-phantom_dir-AP_from-orig_to-undistorted_mode-image_xfm.nii.gz",
      "sub-phantom_dir-PA_desc-preproc_epi.json",
      "sub-phantom_dir-PA_desc-preproc_epi.nii.gz",
      "sub-phantom_dir-PA_from-orig_to-undistorted_mode-image_xfm.json",
      "sub-phantom_dir-PA_from-orig_to-undistorted_mode-image_xfm.nii.gz"};
  EXPECT_EQ(namesInOut(), expected);
  for (const std::string& name : expected)
    EXPECT_THAT(result.out, HasSubstr(out() + "/" + name + "\n"));
  EXPECT_THAT(
      result.err,
      AllOf(HasSubstr("phase encoding j-, readout 0.04 s (TotalReadoutTime), both from "
                      "sub-phantom_dir-AP_epi.json\n"),
            HasSubstr("intensity scale"), HasSubstr("before, "), Not(HasSubstr("Warning"))));
}

TEST_F(CorrectCommand, SidecarsRecordInputsOptionsVersionAndChecksums) {
  ASSERT_EQ(correct({"--ssd", "--modulate"}).status, 0);
  const nlohmann::json field = jsonOf(out("sub-phantom_desc-preproc_fieldmap.json"));
  EXPECT_EQ(field["Units"], "Hz");
  const nlohmann::json record = field["Mirel"];
  EXPECT_EQ(record["Version"], MIREL_VERSION);
  EXPECT_EQ(record["Inputs"][0]["File"], ap());
  EXPECT_EQ(record["Inputs"][0]["PhaseEncodingDirection"], "j-");
  EXPECT_EQ(record["Inputs"][1]["TotalReadoutTime"]["Source"], "TotalReadoutTime");
  EXPECT_EQ(record["Inputs"][1]["SHA256"].get<std::string>().size(), 64U);
  EXPECT_NE(record["Inputs"][0]["SHA256"], record["Inputs"][1]["SHA256"]);
  EXPECT_EQ(record["Options"]["Measure"], "SSD");
  EXPECT_EQ(record["Options"]["Modulation"], true);
  EXPECT_EQ(jsonOf(out("sub-phantom_dir-AP_desc-voxels_vdm.json"))["Units"], "voxels");
  EXPECT_EQ(jsonOf(out("dataset_description.json"))["DatasetType"], "derivative");
}

TEST_F(CorrectCommand, TheFieldHasTheSignAndSizeOfTheTrueOne) {
  ASSERT_EQ(correct({}).status, 0);
  const Volume<float> found = imageIn(out("sub-phantom_desc-preproc_fieldmap.nii.gz"));
  const Volume<float> truth = imageIn(input("sub-phantom_desc-truth_fieldmap.nii.gz"));
  EXPECT_GT(correlationInBrain(found, truth), 0.75);
  EXPECT_LT(rmsInBrain(found, truth), 0.8 * rmsInBrain(truth, truth * 0.0f));
  const Volume<float> voxels = imageIn(out("sub-phantom_dir-AP_desc-voxels_vdm.nii.gz"));
  const Volume<float> mm = imageIn(out("sub-phantom_dir-AP_desc-mm_vdm.nii.gz"));
  for (int i = 0; i < voxels.size(); i += 997) {
    EXPECT_FLOAT_EQ(mm.data()[i], voxels.data()[i] * 4.5f);
    EXPECT_NEAR(found.data()[i], -voxels.data()[i] / 0.04f, 1e-3f);  // A is "j-"
  }
}

TEST_F(CorrectCommand, TheMapIsThatOfTheEstimateTaskBitForBit) {
  const struct {
    std::vector<std::string> correct, estimate;
  } variants[] = {{{"--estimator", "search"}, {"--ic"}},
                  {{"--ssd", "--no-ic"}, {"--ssd"}},
                  {{"--fast"}, {"--fast"}},
                  {{}, {"--estimator", "mass-preserving"}}};
  ASSERT_EQ(runMirel({"convert", ap(), file("a.fmr")}).status, 0);
  ASSERT_EQ(runMirel({"convert", pa(), file("b.fmr")}).status, 0);
  for (const auto& variant : variants) {
    std::vector<std::string> words = {"estimate", file("a.fmr"), file("b.fmr")};
    words.insert(words.end(), variant.estimate.begin(), variant.estimate.end());
    ASSERT_EQ(runMirel(words).status, 0);
    const Map stored = readMapFile(file("a_vdm.map"));
    words = variant.correct;
    words.insert(words.end(), {"--intensity-scale", "1"});
    ASSERT_EQ(correct(words).status, 0);
    const Volume<float> map = imageIn(out("sub-phantom_dir-AP_desc-voxels_vdm.nii.gz"));
    ASSERT_EQ(stored.values.size(), static_cast<std::size_t>(map.size()));
    EXPECT_TRUE(std::equal(stored.values.begin(), stored.values.end(), map.data()));
  }
}

TEST_F(CorrectCommand, TheMapIsThatOfTheEstimateTaskAlongXToo) {
  ASSERT_EQ(runMirel({"convert", ap(), file("a.dmr")}).status, 0);
  ASSERT_EQ(runMirel({"convert", pa(), file("b.dmr")}).status, 0);
  for (const std::vector<std::string>& method :
       {std::vector<std::string>{"--ic"}, {"--estimator", "mass-preserving"}}) {
    std::vector<std::string> words = {"estimate", file("a.dmr"), file("b.dmr"), "--rllr"};
    words.insert(words.end(), method.begin(), method.end());
    ASSERT_EQ(runMirel(words).status, 0);
    words = {"--pe-a", "i", "--pe-b", "i-", "--intensity-scale", "1"};
    words.insert(words.end(), method.begin(), method.end());
    ASSERT_EQ(correct(words).status, 0);
    // The host stores the map of such a pair with x and y exchanged back.
    const Map stored = readMapFile(file("a_vdm.map"));
    const Volume<float> map = imageIn(out("sub-phantom_dir-AP_desc-voxels_vdm.nii.gz"));
    ASSERT_EQ(stored.header.dimX, map.nx());
    EXPECT_TRUE(std::equal(stored.values.begin(), stored.values.end(), map.data()));
  }
}

TEST_F(CorrectCommand, AppliesToSeriesOfEitherPolarity) {
  const std::string bold = input("sub-phantom_task-rest_dir-AP_bold.nii.gz");
  const ProgramResult result = correct({"--apply", bold, pa(), "--threads", "2"}, "series");
  EXPECT_EQ(result.status, 1) << "PA would be written twice";
  EXPECT_THAT(result.err, HasSubstr("two results would have the name"));
  std::filesystem::copy(pa(), file("sub-phantom_acq-copy_dir-PA_epi.nii.gz"));
  std::filesystem::copy(input("sub-phantom_dir-PA_epi.json"),
                        file("sub-phantom_acq-copy_dir-PA_epi.json"));
  const ProgramResult both =
      correct({"--apply", bold, file("sub-phantom_acq-copy_dir-PA_epi.nii.gz"), "--json"});
  ASSERT_EQ(both.status, 0) << both.err;
  const nlohmann::json summary = nlohmann::json::parse(both.out);
  EXPECT_EQ(summary["series"][0]["volumes"], 3);
  EXPECT_EQ(summary["series"][0]["signCheck"], "right");
  EXPECT_EQ(summary["series"][1]["direction"], "j");
  // The sidecars of the pair name the series that it is for.
  ASSERT_EQ(summary["warnings"].size(), 2U);
  for (const auto& warning : summary["warnings"])
    EXPECT_THAT(warning.get<std::string>(),
                HasSubstr("is not meant for " + file("sub-phantom_acq")));
  // The copy of B is corrected as B is, but for the rounding to its own integers.
  const Volume<float> asPair = imageIn(out("sub-phantom_dir-PA_desc-preproc_epi.nii.gz"));
  const Volume<float> asSeries =
      imageIn(out("sub-phantom_acq-copy_dir-PA_desc-preproc_epi.nii.gz"));
  for (int i = 0; i < asPair.size(); ++i)
    ASSERT_NEAR(asSeries.data()[i], asPair.data()[i], 0.51f) << i;
}

TEST_F(CorrectCommand, ASeriesWithTheWrongSignIsSaidLoudly) {
  const ProgramResult result = correct(
      {"--apply", input("sub-phantom_task-rest_dir-AP_bold.nii.gz"), "--apply-pe", "j", "--quiet"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, AllOf(HasSubstr("Warning: CHECK THE SIGN"), HasSubstr("bold.nii.gz"),
                                HasSubstr("corrected as j-")));
}

TEST_F(CorrectCommand, AWrongAxisIsSaidLoudly) {
  const ProgramResult result = correct({"--pe-a", "i-", "--pe-b", "i", "--quiet"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, AllOf(HasSubstr("Warning: CHECK THE AXIS"), HasSubstr("along j")));
}

TEST_F(CorrectCommand, SidecarsHigherUpInTheDatasetCountToo) {
  const auto write = [&](const std::string& name, const char* text) {
    std::ofstream(file(name)) << text;
    return file(name);
  };
  std::filesystem::create_directory(file("sub-1"));
  write("dataset_description.json", "{}");
  const std::string epi = write("epi.json", R"({"TotalReadoutTime": 0.04})");
  write("sub-1/dir-AP_epi.json", R"({"PhaseEncodingDirection": "j-"})");
  const std::string other = write("sub-1/dir-PA_epi.json", R"({"PhaseEncodingDirection": "j"})");
  // The wrong sign, to be told of by the name of the file that says so.
  const std::string bold =
      write("bold.json", R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.04})");
  write("sub-1/sub-1_bold.json", R"({"TaskName": "rest"})");
  const std::string a = file("sub-1/sub-1_dir-AP_epi.nii.gz");
  const std::string b = file("sub-1/sub-1_dir-PA_epi.nii.gz");
  const std::string run = file("sub-1/sub-1_bold.nii.gz");
  std::filesystem::copy(ap(), a);
  std::filesystem::copy(pa(), b);
  std::filesystem::copy(input("sub-phantom_task-rest_dir-AP_bold.nii.gz"), run);
  const ProgramResult result =
      runMirel({"correct", a, b, "--apply", run, "--fast", "--json", "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err,
              AllOf(HasSubstr(a + ": phase encoding j- (dir-AP_epi.json), readout 0.04 s (Total"),
                    HasSubstr("TotalReadoutTime in " + epi + ")"),
                    HasSubstr("CHECK THE SIGN in " + bold + ": it says j")));
  EXPECT_EQ(nlohmann::json::parse(result.out)["a"]["readout"]["file"], epi);
  const nlohmann::json record = jsonOf(out("sub-1_desc-preproc_bold.json"));
  EXPECT_EQ(record["TaskName"], "rest");
  EXPECT_EQ(record["Mirel"]["Inputs"][1]["Sidecar"], nlohmann::json({epi, other}));
  EXPECT_EQ(record["Mirel"]["Series"]["PhaseEncodingDirectionSource"], bold);
}

TEST_F(CorrectCommand, WithoutSidecarsItWorksInVoxels) {
  std::filesystem::copy(ap(), file("one.nii.gz"));
  std::filesystem::copy(pa(), file("two.nii.gz"));
  const ProgramResult result =
      runMirel({"correct", file("one.nii.gz"), file("two.nii.gz"), "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("Note: there is neither a sidecar"));
  EXPECT_THAT(namesInOut(),
              AllOf(Contains("one_desc-voxels_vdm.nii.gz"), Contains("one_desc-preproc.nii.gz"),
                    Not(Contains(HasSubstr("fieldmap")))));
}

TEST_F(CorrectCommand, WithoutSidecarsASeriesIsTakenToBeEncodedAsTheFirstImage) {
  std::filesystem::copy(ap(), file("one.nii.gz"));
  std::filesystem::copy(pa(), file("two.nii.gz"));
  std::filesystem::copy(input("sub-phantom_task-rest_dir-AP_bold.nii.gz"), file("run.nii.gz"));
  const ProgramResult right = runMirel({"correct", file("one.nii.gz"), file("two.nii.gz"),
                                        "--apply", file("run.nii.gz"), "-o", out()});
  ASSERT_EQ(right.status, 0) << right.err;
  EXPECT_THAT(right.err, AllOf(HasSubstr("run.nii.gz has no sidecar"), Not(HasSubstr("Warning"))));
  // The other way round the assumption is wrong, and the sign check says so.
  const ProgramResult wrong = runMirel({"correct", file("two.nii.gz"), file("one.nii.gz"),
                                        "--apply", file("run.nii.gz"), "-o", out()});
  EXPECT_THAT(wrong.err, AllOf(HasSubstr("CHECK THE SIGN"), HasSubstr("run.nii.gz")));
}

TEST_F(CorrectCommand, ASeriesWithoutOrientationOrPartlyElsewhereIsDoubted) {
  const std::string series = file("run.nii.gz");
  nifti::Reader bold(input("sub-phantom_task-rest_dir-AP_bold.nii.gz"));
  nifti::Header header = bold.header();
  header.volumes = 1;
  header.qformCode = 0;
  header.sform[3].y += 80;
  const auto messages = [&] {
    nifti::Writer writer(series, header);
    writer.write(bold.readVolume(0));
    writer.finish();
    const ProgramResult result =
        correct({"--fast", "--quiet", "--apply", series, "--apply-pe", "j-"});
    EXPECT_EQ(result.status, 0);
    return result.err;
  };
  EXPECT_THAT(messages(), AllOf(HasSubstr("Warning: "), HasSubstr(" % of the head in " + series +
                                                                  " lies off the grid of ")));
  header.sformCode = 0;
  EXPECT_THAT(messages(), HasSubstr("Warning: " + series + " has no orientation"));
}

TEST_F(CorrectCommand, ASignThatCannotBeToldIsSaid) {
  const std::string series = file("run.nii.gz");
  nifti::Reader bold(input("sub-phantom_task-rest_dir-AP_bold.nii.gz"));
  nifti::Header header = bold.header();
  header.volumes = 1;
  nifti::Writer writer(series, header);
  Volume<float> nearlyEmpty(header.dims, 0.0f);
  nearlyEmpty.at(20, 24, 14) = 500;
  writer.write(nearlyEmpty);
  writer.finish();
  EXPECT_THAT(correct({"--fast", "--apply", series}).err,
              HasSubstr("Note: the sign of " + series + " could not be checked"));
}

TEST_F(CorrectCommand, ASidecarThatContradictsItselfIsDoubted) {
  std::filesystem::copy(ap(), file("a.nii.gz"));
  std::ofstream(file("a.json")) << R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.04,
                                       "EffectiveEchoSpacing": 0.0004})";
  const ProgramResult result =
      runMirel({"correct", file("a.nii.gz"), pa(), "--fast", "--quiet", "-o", out()});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, HasSubstr("Warning: " + file("a.json") +
                                    " contradicts itself: its TotalReadoutTime is 0.04 s, but"));
}

TEST_F(CorrectCommand, SeriesAsFloatsWhenAskedTo) {
  const std::string bold = input("sub-phantom_task-rest_dir-AP_bold.nii.gz");
  ASSERT_EQ(correct({"--apply", bold, "--float"}).status, 0);
  const std::string corrected = out("sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz");
  EXPECT_EQ(nifti::Reader(corrected).header().type, nifti::DataType::float32);
  const nlohmann::json record = jsonOf(out("sub-phantom_task-rest_dir-AP_desc-preproc_bold.json"));
  EXPECT_EQ(record["Mirel"]["Options"]["FloatOutput"], true);
  ASSERT_EQ(correct({"--apply", bold}, "own").status, 0);
  nifti::Reader own(file("own/sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz"));
  EXPECT_EQ(own.header().type, nifti::Reader(bold).header().type);
  const Volume<float> rounded = own.readVolume(0), exact = imageIn(corrected);
  for (int i = 0; i < exact.size(); ++i) ASSERT_NEAR(rounded.data()[i], exact.data()[i], 0.5f);
}

TEST_F(CorrectCommand, TheNumberOfThreadsDoesNotShow) {
  const std::string bold = input("sub-phantom_task-rest_dir-AP_bold.nii.gz");
  for (const char* threads : {"1", "2", "5"})
    ASSERT_EQ(correct({"--fast", "--apply", bold, "--threads", threads}, threads).status, 0);
  const std::string name = "/sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz";
  EXPECT_EQ(textOf(file("1" + name)), textOf(file("2" + name)));
  EXPECT_EQ(textOf(file("1" + name)), textOf(file("5" + name)));
}

TEST_F(CorrectCommand, TheNumberOfThreadsDoesNotShowInTheEstimate) {
  ASSERT_EQ(correct({"--uncertainty", "--threads", "1"}).status, 0);
  for (const char* threads : {"2", "3"})
    ASSERT_EQ(correct({"--uncertainty", "--threads", threads}, threads).status, 0);
  const std::vector<std::string> names = namesInOut();
  EXPECT_GT(names.size(), 6U);
  for (const std::string& name : names)
    if (name.ends_with(".nii.gz")) {
      EXPECT_EQ(textOf(out(name)), textOf(file("2/" + name))) << name;
      EXPECT_EQ(textOf(out(name)), textOf(file("3/" + name))) << name;
    }
}

TEST_F(CorrectCommand, TheMeanOfOneAndASingleVolumeOfTheOther) {
  const std::string bold = input("sub-phantom_task-rest_dir-AP_bold.nii.gz");
  const ProgramResult result =
      runMirel({"correct", bold, pa(), "--mean", "3", "--mean-b", "1", "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(namesInOut(),
              Contains("sub-phantom_task-rest_dir-AP_desc-preprocMeanOf3_bold.nii.gz"));
  EXPECT_EQ(
      jsonOf(out("sub-phantom_desc-preproc_fieldmap.json"))["Mirel"]["Inputs"][0]["MeanOfVolumes"],
      3);
}

TEST_F(CorrectCommand, QuietSaysNothingAndJsonIsAllOfStandardOutput) {
  EXPECT_EQ(correct({"--quiet"}).err, "");
  const ProgramResult result = correct({"--json", "--quiet"}, "other");
  const nlohmann::json summary = nlohmann::json::parse(result.out);
  EXPECT_EQ(summary["a"]["direction"], "j-");
  EXPECT_EQ(summary["outputs"].size(), 18U);
  EXPECT_GT(summary["pairCorrelation"]["after"], summary["pairCorrelation"]["before"]);
}

TEST_F(CorrectCommand, NamesThatAreNotUtf8AreNoObstacle) {
  const std::string name = file("sub-\xe4_epi.nii.gz");
  std::filesystem::copy(ap(), name);
  const ProgramResult result = runMirel({"correct", name, pa(), "--pe-a", "j-", "--readout", "0.04",
                                         "--fast", "--json", "--quiet", "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(nlohmann::json::parse(result.out)["a"]["direction"], "j-");
  EXPECT_EQ(jsonOf(out("sub-\xe4_desc-preproc_epi.json"))["Mirel"]["Inputs"].size(), 2U);
}

TEST_F(CorrectCommand, TheSlicesOfASeriesStayAsTheyAreDescribed) {
  const std::string series = file("run.nii.gz");
  nifti::Reader bold(input("sub-phantom_task-rest_dir-AP_bold.nii.gz"));
  nifti::Header header = bold.header();
  header.volumes = 1;
  header.slices = {1, 2, 3, 3, 0, header.dims.z - 1, 0.07};
  nifti::Writer writer(series, header);
  writer.write(bold.readVolume(0));
  writer.finish();
  ASSERT_EQ(correct({"--fast", "--apply", series, "--apply-pe", "j-"}).status, 0);
  const nifti::SliceOrder kept = nifti::Reader(out("run_desc-preproc.nii.gz")).header().slices;
  EXPECT_EQ(kept.code, 3);
  EXPECT_EQ(kept.sliceAxis, 3);
  EXPECT_EQ(kept.last, header.dims.z - 1);
  EXPECT_NEAR(kept.durationSeconds, 0.07, 1e-6);
}

TEST_F(CorrectCommand, ADescriptionOfTheDatasetThatIsThereIsKept) {
  std::filesystem::create_directory(out());
  std::ofstream(out("dataset_description.json")) << "{\"Name\": \"mine\"}";
  ASSERT_EQ(correct({"--fast"}).status, 0);
  EXPECT_EQ(jsonOf(out("dataset_description.json"))["Name"], "mine");
}

TEST_F(CorrectCommand, TwoVolumesOfOneFile) {
  writeJoined(file("both.nii.gz"));
  const ProgramResult result =
      runMirel({"correct", file("both.nii.gz"), file("both.nii.gz"), "--volume-b", "1", "--pe-a",
                "j-", "--pe-b", "j", "--readout", "0.04", "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(namesInOut(), AllOf(Contains("both_desc-preprocVolume0.nii.gz"),
                                  Contains("both_desc-preprocVolume1.nii.gz")));
  ASSERT_EQ(correct({}, "plain").status, 0);
  EXPECT_TRUE(imageIn(out("both_desc-voxelsVolume0_vdm.nii.gz")) ==
              imageIn(file("plain/sub-phantom_dir-AP_desc-voxels_vdm.nii.gz")));
}

}  // namespace

}  // namespace mirel
