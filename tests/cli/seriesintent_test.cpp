#include "cli/fieldfiles.h"

namespace mirel {

// What the sidecars of a dataset say about the images that a pair or a field is for.

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class SeriesIntent : public FieldFiles {
 protected:
  /// A dataset of one session with the pair and a series.
  void SetUp() override {
    namespace fs = std::filesystem;
    for (const char* folderName : {"sub-1/ses-a/fmap", "sub-1/ses-a/func"})
      fs::create_directories(file(folderName));
    std::ofstream(file("dataset_description.json")) << "{}";
    fs::copy(ap(), a);
    fs::copy(pa(), b);
    fs::copy(input("sub-phantom_task-rest_dir-AP_bold.nii.gz"), run);
    fs::copy(field(), map0);
    pairSays(json::object(), json::object());
    runSays(json::object());
  }

  static json acquisition(const char* direction, const json& more) {
    json fields = {{"PhaseEncodingDirection", direction}, {"TotalReadoutTime", 0.04}};
    fields.update(more);
    return fields;
  }
  void pairSays(const json& first, const json& second) const {
    sidecar("sub-1/ses-a/fmap/sub-1_ses-a_dir-AP_epi.json", acquisition("j-", first));
    sidecar("sub-1/ses-a/fmap/sub-1_ses-a_dir-PA_epi.json", acquisition("j", second));
  }
  void runSays(const json& more) const {
    sidecar("sub-1/ses-a/func/sub-1_ses-a_task-rest_run-1_bold.json", acquisition("j-", more));
  }
  void fieldSays(json more) const {
    more["Units"] = "Hz";
    sidecar("sub-1/ses-a/fmap/sub-1_ses-a_fieldmap.json", more);
  }

  std::string said(const std::vector<std::string>& words) const {
    std::vector<std::string> all = words;
    all.insert(all.end(), {"--quiet", "-o", file("out")});
    const ProgramResult result = runMirel(all);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.err;
  }
  std::string correcting(const std::string& series) const {
    return said({"correct", a, b, "--fast", "--apply", series});
  }
  std::string applying() const { return said({"apply", "--field", map0, run}); }

  const std::string a = file("sub-1/ses-a/fmap/sub-1_ses-a_dir-AP_epi.nii.gz");
  const std::string b = file("sub-1/ses-a/fmap/sub-1_ses-a_dir-PA_epi.nii.gz");
  const std::string map0 = file("sub-1/ses-a/fmap/sub-1_ses-a_fieldmap.nii.gz");
  const std::string run = file("sub-1/ses-a/func/sub-1_ses-a_task-rest_run-1_bold.nii.gz");
  const std::string unmeant = "is not meant for " + run + ": IntendedFor in ";
};

TEST_F(SeriesIntent, NothingIsSaidWhereSidecarsAreSilent) {
  EXPECT_THAT(correcting(run), Not(HasSubstr("meant")));
  fieldSays(json::object());
  EXPECT_EQ(applying(), "");
  runSays({{"B0FieldSource", "pepolar"}});
  EXPECT_THAT(correcting(run), Not(HasSubstr("B0Field")));
  runSays(json::object());
  for (const json& nobody : {json(""), json::array(), json(nullptr), json(7)}) {
    fieldSays({{"IntendedFor", nobody}, {"B0FieldIdentifier", nobody}});
    EXPECT_EQ(applying(), "") << nobody;
  }
}

TEST_F(SeriesIntent, EverySpellingOfThePathCounts) {
  const std::string name = "func/sub-1_ses-a_task-rest_run-1_bold.nii.gz";
  for (const std::string& path : {"ses-a/" + name, "./ses-a/" + name, "sub-1/ses-a/" + name,
                                  "bids::sub-1/ses-a/" + name, "bids:raw:sub-1/ses-a/" + name}) {
    fieldSays({{"IntendedFor", path}});
    EXPECT_EQ(applying(), "") << path;
    fieldSays({{"IntendedFor", {"ses-a/func/sub-1_ses-a_task-rest_run-2_bold.nii.gz", path}}});
    EXPECT_EQ(applying(), "") << path;
  }
  for (const char* other : {"ses-a/func/sub-1_ses-a_task-rest_run-2_bold.nii.gz",
                            "bids::sub-2/ses-a/func/sub-2_ses-a_task-rest_run-1_bold.nii.gz",
                            "ses-b/func/sub-1_ses-b_task-rest_run-1_bold.nii.gz",
                            "ses-a/dwi/sub-1_ses-a_task-rest_run-1_dwi.nii.gz"}) {
    fieldSays({{"IntendedFor", other}});
    EXPECT_THAT(applying(), AllOf(HasSubstr("Warning: " + map0 + " " + unmeant), HasSubstr(other)));
  }
}

TEST_F(SeriesIntent, EachImageOfThePairIsAsked) {
  const json meant = {{"IntendedFor", {"ses-a/func/sub-1_ses-a_task-rest_run-1_bold.nii.gz"}}};
  const json other = {{"IntendedFor", "ses-a/func/sub-1_ses-a_task-rest_run-2_bold.nii.gz"}};
  pairSays(meant, meant);
  EXPECT_THAT(correcting(run), Not(HasSubstr("meant")));
  pairSays(meant, other);
  EXPECT_THAT(correcting(run), AllOf(HasSubstr("Warning: the pair " + unmeant + file("")),
                                     HasSubstr("dir-PA_epi.json names ses-a/func/")));
  // The record keeps it.
  json record;
  for (const auto& entry : std::filesystem::directory_iterator(out()))
    if (entry.path().string().ends_with("bold.json")) record = json::parse(textOf(entry.path()));
  EXPECT_THAT(record["Mirel"]["Series"]["Warnings"][0], HasSubstr("is not meant for"));
  EXPECT_THAT(said({"correct", a, b, "--fast", "--apply", run, "--pe-a", "j-", "--pe-b", "j",
                    "--readout", "0.04"}),
              HasSubstr("the pair " + unmeant))
      << "also where options tell all";
  const std::string own = file("again.nii.gz");
  std::filesystem::create_symlink(b, own);
  EXPECT_THAT(correcting(own), Not(HasSubstr("meant"))) << "the pair is for itself";
}

TEST_F(SeriesIntent, IdentifiersComeFirst) {
  const json other = {{"IntendedFor", "ses-a/func/sub-1_ses-a_task-rest_run-2_bold.nii.gz"}};
  json own = other;
  own["B0FieldIdentifier"] = {"pepolar0", "shim1"};
  pairSays(own, own);
  runSays({{"B0FieldSource", "shim1"}});
  EXPECT_THAT(correcting(run), Not(HasSubstr("Warning: the pair")));
  runSays({{"B0FieldSource", {"pepolar1", "gre"}}});
  EXPECT_THAT(correcting(run), AllOf(HasSubstr("asks for the field pepolar1, gre (B0FieldSource)"),
                                     HasSubstr("of the pair is pepolar0, shim1")));
  runSays(json::object());
  EXPECT_THAT(correcting(run), HasSubstr("the pair " + unmeant)) << "then the paths";
  pairSays({{"B0FieldIdentifier", "one"}}, {{"B0FieldIdentifier", "two"}});
  EXPECT_THAT(correcting(run),
              HasSubstr(a + " and " + b + " are not of one field by their B0FieldIdentifier"));
}

TEST_F(SeriesIntent, WhatWasDerivedFromTheMeantImageIsMeant) {
  pairSays({{"IntendedFor", "ses-a/func/sub-1_ses-a_task-rest_run-1_bold.nii.gz"}}, json::object());
  const std::string derived = file("sub-1_ses-a_task-rest_run-1_desc-denoised_bold.nii.gz");
  std::filesystem::copy(run, derived);
  EXPECT_THAT(correcting(derived), Not(HasSubstr("meant")));
  const std::string other = file("sub-1_ses-a_task-rest_acq-x_run-1_bold.nii.gz");
  std::filesystem::copy(run, other);
  EXPECT_THAT(correcting(other), HasSubstr("is not meant for " + other));
}

}  // namespace

}  // namespace mirel
