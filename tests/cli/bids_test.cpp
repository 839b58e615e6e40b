#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/tinystudy.h"
#include "nifti/image.h"

namespace mirel {

// "mirel bids" on whole datasets, as a user runs it.

namespace fs = std::filesystem;
using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using Bids = TinyStudy;

constexpr const char* bold = "sub-01/func/sub-01_task-rest_desc-preproc_bold";

/// The bytes of all images in a folder, by name.
std::map<std::string, std::string> imagesIn(const std::string& folder) {
  std::map<std::string, std::string> images;
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    if (entry.path().extension() == ".gz")
      images[entry.path().lexically_relative(folder).string()] = textOf(entry.path().string());
  return images;
}

std::map<std::string, fs::file_time_type> timesIn(const std::string& folder) {
  std::map<std::string, fs::file_time_type> times;
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    if (entry.path().string().find("/sub-") != std::string::npos && entry.is_regular_file() &&
        entry.path().string().find("/logs/") == std::string::npos)
      times[entry.path().string()] = fs::last_write_time(entry.path());
  return times;
}

}  // namespace

TEST_F(Bids, CorrectsEveryImageOfASubjectIntoADerivative) {
  subject("01");
  const ProgramResult result = bids();
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("Done: 3 images corrected"));
  for (const char* name :
       {"dir-AP_desc-preproc_epi", "dir-PA_desc-preproc_epi", "desc-preproc_magnitude",
        "desc-preproc_fieldmap", "dir-AP_desc-voxels_vdm"})
    for (const char* end : {".nii.gz", ".json"})
      EXPECT_TRUE(isThere("sub-01/fmap/sub-01_" + std::string(name) + end)) << name;
  const json sidecar = json::parse(textOf(out(bold) + ".json"));
  EXPECT_EQ(sidecar["Sources"], json({"bids:raw:sub-01/func/sub-01_task-rest_bold.nii.gz",
                                      "bids::sub-01/fmap/sub-01_desc-preproc_fieldmap.nii.gz"}));
  EXPECT_EQ(sidecar["SkullStripped"], false);
  EXPECT_EQ(sidecar["TaskName"], "rest");
  const json about = json::parse(textOf(out("dataset_description.json")));
  EXPECT_EQ(about["DatasetType"], "derivative");
  EXPECT_EQ(about["GeneratedBy"][0]["Name"], "Mirel");
  EXPECT_EQ(about["DatasetLinks"], json({{"raw", "../raw"}}));
  EXPECT_EQ(about["SourceDatasets"][0]["URL"],
            "file://" + fs::canonical(folder.file("raw")).string());
  EXPECT_THAT(textOf(out("logs/sub-01_plan.tsv")),
              HasSubstr("sub-01/func/sub-01_task-rest_bold.nii.gz\tcorrected\t"));
  EXPECT_EQ(json::parse(textOf(out("logs/sub-01_plan.json")))["Images"].size(), 3U);
}

TEST_F(Bids, TheLogOfASubjectTellsWhatWasDoneWhen) {
  subject("01");
  ASSERT_EQ(bids().status, 0);
  const std::string first = textOf(out("logs/sub-01.log"));
  ASSERT_EQ(bids().status, 0);
  const std::string both = textOf(out("logs/sub-01.log"));
  EXPECT_THAT(both, testing::StartsWith(first));
  EXPECT_THAT(first, HasSubstr(" estimating the field of "));
  EXPECT_THAT(both.substr(first.size()), HasSubstr(" up to date: "));
  std::istringstream lines(both);
  for (std::string line; std::getline(lines, line);)
    EXPECT_THAT(line, testing::ContainsRegex(
                          "^20[0-9]{2}-[01][0-9]-[0-3][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} UTC ."));
}

TEST_F(Bids, GivesTheBytesOfTheSingleCommand) {
  subject("01");
  ASSERT_EQ(bids().status, 0);
  const std::string fmap = raw("sub-01/fmap/sub-01_dir-");
  const ProgramResult single =
      runMirel({"correct", fmap + "AP_epi.nii.gz", fmap + "PA_epi.nii.gz", "--apply",
                raw("sub-01/func/sub-01_task-rest_bold.nii.gz"), "-o", folder.file("single")});
  ASSERT_EQ(single.status, 0) << single.err;
  const auto made = imagesIn(out());
  EXPECT_EQ(made.size(), 9U);
  for (const auto& [path, bytes] : made)
    EXPECT_EQ(bytes, textOf(folder.file("single/" + fs::path(path).filename().string()))) << path;
  // Of images without values below 0.
  for (const std::string& name :
       {std::string(bold), std::string("sub-01/fmap/sub-01_dir-PA_desc-preproc_epi")})
    EXPECT_EQ(nifti::Reader(out(name) + ".nii.gz").readVolume(0).min(), 0.0F) << name;
}

TEST_F(Bids, DryRunPrintsThePlanAndWritesNothing) {
  subject("01");
  const ProgramResult result = bids({"--dry-run"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, AllOf(HasSubstr("sub-01/func/sub-01_task-rest_bold.nii.gz\n    planned: "
                                          "sub-01_desc-preproc_fieldmap by IntendedFor"),
                                HasSubstr("IntendedFor in the sidecars of")));
  EXPECT_FALSE(fs::exists(out()));
}

TEST_F(Bids, ARunAgainDoesOnlyWhatIsMissingOrChanged) {
  subject("01");
  ASSERT_EQ(bids().status, 0);
  const auto before = timesIn(out());
  ProgramResult again = bids();
  EXPECT_THAT(again.err, HasSubstr("0 images corrected, 3 were up to date"));
  EXPECT_EQ(timesIn(out()), before);

  fs::remove(out(bold) + ".nii.gz");
  again = bids();
  EXPECT_THAT(again.err, HasSubstr("1 image corrected, 2 were up to date"));
  EXPECT_TRUE(isThere(std::string(bold) + ".nii.gz"));

  text("sub-01/func/sub-01_task-rest_bold.json", sidecar("j-", R"("TaskName": "other")"));
  EXPECT_THAT(bids().err, HasSubstr("1 image corrected, 2 were up to date"));
  EXPECT_EQ(json::parse(textOf(out(bold) + ".json"))["TaskName"], "other");

  text("sub-01/fmap/sub-01_dir-AP_epi.json",
       R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.05})");
  text("sub-01/fmap/sub-01_dir-PA_epi.json",
       R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.05})");
  EXPECT_THAT(bids().err, HasSubstr("3 images corrected, 0 were up to date"))
      << "another field in Hz corrects the series anew";
}

TEST_F(Bids, AReadoutTimeThatThePairDoesNotHaveIsWarnedOf) {
  subject("01");
  for (const char* direction : {"AP", "PA"})
    text(std::string("sub-01/fmap/sub-01_dir-") + direction + "_epi.json",
         std::string(R"({"PhaseEncodingDirection": ")") +
             (std::string(direction) == "AP" ? "j-" : "j") + R"("})");
  const ProgramResult result = bids();
  EXPECT_THAT(result.err, HasSubstr("Warning: sub-01/func/sub-01_task-rest_bold.nii.gz has a "
                                    "readout time of 0.04 s, but that of sub-01_dir-AP_epi.nii.gz "
                                    "and sub-01_dir-PA_epi.nii.gz is not known"));
  const json record =
      json::parse(textOf(out("sub-01/func/sub-01_task-rest_desc-preproc_bold.json")));
  EXPECT_THAT(record["Mirel"]["Series"]["Warnings"].dump(),
              HasSubstr("is not known: it is taken to be the same, and if it is another one"));
}

TEST_F(Bids, ResultsThatMayBeWrongAreNamedAndCountedAtTheEnd) {
  subject("01");
  subject("02");
  EXPECT_THAT(bids({"--participant-label", "01"}).err, Not(HasSubstr("CHECK")));
  // A pair cannot tell that its directions are exchanged, but its series does.
  text("sub-02/fmap/sub-02_dir-AP_epi.json", sidecar("j"));
  text("sub-02/fmap/sub-02_dir-PA_epi.json", sidecar("j-"));
  const auto expectWarning = [](const ProgramResult& result, const char* counts) {
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, HasSubstr("Warning: sub-02 (1 image): CHECK THE SIGN in "));
    EXPECT_THAT(result.err, Not(HasSubstr("Warning: sub-01")));
    EXPECT_THAT(result.err, HasSubstr(std::string("Done: ") + counts +
                                      ", 0 left uncorrected, 0 failed; 1 with a warning to "
                                      "CHECK\n"));
  };
  expectWarning(bids({"--quiet"}), "3 images corrected, 3 were up to date");
  expectWarning(bids({"--strict"}), "0 images corrected, 6 were up to date");
}

TEST_F(Bids, GivesTheSameBytesWhateverTheNumberOfThreads) {
  for (const char* label : {"01", "02", "03"}) subject(label);
  ASSERT_EQ(bids({"--n-cpus", "1"}).status, 0);
  const auto one = imagesIn(out());
  fs::remove_all(out());
  ASSERT_EQ(bids({"--n-cpus", "3"}).status, 0);
  EXPECT_EQ(imagesIn(out()), one);
  fs::remove_all(out());
  ASSERT_EQ(bids({"--n-cpus", "3", "--mem-mb", "1"}).status, 0) << "each alone";
  EXPECT_EQ(imagesIn(out()), one);
}

TEST_F(Bids, LabelsSelectWithOrWithoutPrefixAndUnknownOnesAreRefused) {
  for (const char* label : {"01", "02", "03"}) subject(label);
  EXPECT_EQ(bids({"--participant-label", "sub-01", "03", "--dry-run"}).status, 0);
  const std::string plan = bids({"--participant_label", "sub-01,03", "--dry-run"}).out;
  EXPECT_THAT(plan, AllOf(HasSubstr("sub-01/"), HasSubstr("sub-03/"), Not(HasSubstr("sub-02/"))));
  const ProgramResult unknown = bids({"--participant-label", "1"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.err, folder.file("raw") +
                             " has no subject 1: there are 01, 02, 03\n"
                             "Run with --help for more information.\n");
  EXPECT_THAT(bids({"--task-id", "task-rest", "x"}).err,
              HasSubstr("has no task x: there are rest"));
  EXPECT_THAT(bids({"--session-label", "a"}).err, HasSubstr("has no session a: it has none"));
  EXPECT_EQ(bids({"--session-label", "a"}).status, 2);
  EXPECT_FALSE(fs::exists(out()));
  const ProgramResult before =
      runMirel({"bids", "--participant-label", "01", raw(), out(), "participant"});
  EXPECT_EQ(before.status, 0) << before.err;
  EXPECT_TRUE(isThere("sub-01"));
  EXPECT_FALSE(isThere("sub-02"));
}

TEST_F(Bids, WritesOnlyOutsideTheDatasetOrIntoItsDerivatives) {
  subject("01");
  const auto into = [&](const std::string& where) {
    return runMirel({"bids", raw(), where, "participant"});
  };
  for (const std::string& where : {raw(), raw("sub-01"), raw("new")}) {
    EXPECT_EQ(into(where).status, 1);
    EXPECT_THAT(into(where).err, HasSubstr("derivatives/mirel"));
  }
  EXPECT_EQ(into(raw("derivatives/mirel")).status, 0);
  EXPECT_TRUE(fs::exists(raw("derivatives/mirel/") + bold + ".nii.gz"));
  EXPECT_EQ(into(raw("derivatives/mirel")).status, 0) << "results are no images to correct";
}

TEST_F(Bids, DiffusionSeriesOfBothDirectionsCorrectEachOther) {
  for (const char* dir : {"AP", "PA"}) {
    const std::string stem = "sub-01/dwi/sub-01_dir-" + std::string(dir) + "_dwi";
    image("dir-" + std::string(dir) + "_epi", stem, sidecar(*dir == 'A' ? "j-" : "j"));
    text(stem + ".bval", "0\n");
    text(stem + ".bvec", "0\n0\n0\n");
  }
  EXPECT_EQ(bids().status, 0);
  for (const char* dir : {"AP", "PA"})
    for (const char* end : {".nii.gz", ".json", ".bval", ".bvec"})
      EXPECT_TRUE(isThere("sub-01/dwi/sub-01_dir-" + std::string(dir) + "_desc-preproc_dwi" + end));
  EXPECT_TRUE(isThere("sub-01/fmap/sub-01_desc-preprocDwi_fieldmap.nii.gz"));
}

TEST_F(Bids, SessionsEchoesAndPerfusionHaveTheirPlaces) {
  const std::string at = "sub-01/ses-a/";
  image("dir-AP_epi", at + "fmap/sub-01_ses-a_dir-AP_epi",
        sidecar("j-", R"("B0FieldIdentifier": "f")"));
  image("dir-PA_epi", at + "fmap/sub-01_ses-a_dir-PA_epi",
        sidecar("j", R"("B0FieldIdentifier": ["f"])"));
  for (const char* name :
       {"func/sub-01_ses-a_task-rest_echo-1_bold", "func/sub-01_ses-a_task-rest_echo-2_bold",
        "func/sub-01_ses-a_task-rest_sbref", "perf/sub-01_ses-a_asl"})
    image("task-rest_dir-AP_bold", at + name, sidecar("j-", R"("B0FieldSource": "f")"));
  text(at + "perf/sub-01_ses-a_aslcontext.tsv", "volume_type\ncontrol\nlabel\n");
  const ProgramResult result = bids();
  EXPECT_EQ(result.status, 0) << result.err;
  for (const char* name : {"func/sub-01_ses-a_task-rest_echo-2_desc-preproc_bold.nii.gz",
                           "func/sub-01_ses-a_task-rest_desc-preproc_sbref.nii.gz",
                           "perf/sub-01_ses-a_desc-preproc_asl.nii.gz",
                           "fmap/sub-01_ses-a_desc-preproc_fieldmap.json"})
    EXPECT_TRUE(isThere(at + name)) << name;
  EXPECT_EQ(textOf(out(at + "perf/sub-01_ses-a_aslcontext.tsv")), "volume_type\ncontrol\nlabel\n");
}

}  // namespace mirel
