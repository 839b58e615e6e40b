#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/documents.h"
#include "cli/tinystudy.h"
#include "support/niftifiles.h"

namespace mirel {

// The table of a dataset, and a measured dataset in one command.

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

namespace {

class BidsGroup : public TinyStudy {
 protected:
  ProgramResult group() const { return runMirel({"bids", raw(), out(), "group"}); }
};

std::vector<std::string> split(const std::string& text, char at) {
  std::vector<std::string> parts;
  std::istringstream is(text);
  for (std::string part; std::getline(is, part, at);) parts.push_back(part);
  return parts;
}

}  // namespace

TEST_F(BidsGroup, HasARowForEveryCorrectedImageAndDescribesEveryColumn) {
  subject("01");
  subject("02");
  EXPECT_THAT(group().err, HasSubstr("cannot be listed"));
  ASSERT_EQ(bids().status, 0);
  const ProgramResult result = group();
  EXPECT_EQ(result.status, 0) << result.err;
  const auto lines = split(textOf(out("group_corrected.tsv")), '\n');
  ASSERT_EQ(lines.size(), 7U);
  const json dictionary = json::parse(textOf(out("group_corrected.json")));
  const auto titles = split(lines[0], '\t');
  EXPECT_EQ(dictionary.size(), titles.size());
  for (const std::string& title : titles)
    EXPECT_TRUE(dictionary[title].contains("Description")) << title;
  for (std::size_t n = 1; n < lines.size(); ++n) {
    const auto cells = split(lines[n], '\t');
    ASSERT_EQ(cells.size(), titles.size()) << lines[n];
    EXPECT_TRUE(isThere(cells[0])) << cells[0];
    EXPECT_THAT(cells[1], HasSubstr("bids:raw:sub-0"));
    EXPECT_NE(cells[3], "n/a");
    EXPECT_GT(std::stod(cells[4]), 1) << "Hz";
    EXPECT_LT(std::stod(cells[5]), std::stod(cells[6])) << "range of the field";
    EXPECT_GT(std::stod(cells[11]), std::stod(cells[10])) << "agreement";
  }
  EXPECT_THAT(lines[2], HasSubstr("dir-PA_desc-preproc_epi.nii.gz\tbids:raw:sub-01/fmap/"
                                  "sub-01_dir-PA_epi.nii.gz\t"));
}

TEST_F(BidsGroup, NamesSeriesWhoseSignCheckIsOpposite) {
  subject("01");
  text("sub-01/fmap/sub-01_dir-AP_epi.json", sidecar("j"));
  text("sub-01/fmap/sub-01_dir-PA_epi.json", sidecar("j-"));
  ASSERT_EQ(bids({"--no-reports"}).status, 0);
  const ProgramResult result = group();
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err,
              HasSubstr("Outlier: sub-01/func/sub-01_task-rest_desc-preproc_bold.nii.gz "
                        "in sign_check: CHECK THE SIGN"));
  EXPECT_THAT(result.err, HasSubstr("3 images, 1 with a warning to CHECK\n"));
  EXPECT_THAT(textOf(out("group_corrected.tsv")), HasSubstr("\topposite\t"));
}

TEST_F(BidsGroup, TheCommandsOfTheDocumentWork) {
  const std::vector<std::string> commands = commandsOf(MIREL_DATASETS);
  ASSERT_EQ(commands.size(), 12U);
  ProgramResult last;
  for (const std::string& command : commands) last = runLine(command, folder.file(""));
  EXPECT_THAT(last.out, HasSubstr("group_corrected.tsv"));
  EXPECT_TRUE(fs::exists(folder.file(
      "study/derivatives/mirel/sub-01/func/sub-01_task-rest_desc-preproc_bold.nii.gz")));
}

TEST_F(BidsGroup, WithoutCorrectedImagesSaysSo) {
  fs::create_directories(out());
  EXPECT_EQ(group().status, 1);
  EXPECT_THAT(group().err, HasSubstr("holds no corrected image"));
}

TEST_F(BidsGroup, OneCommandCorrectsAMeasuredSessionAsSingleCommandsDo) {
  const std::string data = niftifiles::dataFolder() + "/siemens_prisma_dwi_bold_fmap/";
  if (!fs::exists(data)) GTEST_SKIP() << "no measured images (MIREL_TEST_DATA)";
  std::vector<std::string> single = {"correct"};
  for (const std::string dir : {"AP", "PA"}) {
    for (const char* end : {".nii.gz", ".json"}) {
      fs::create_directories(raw("sub-01/fmap"));
      fs::copy(data + "dwi/sub-01_dir-" + dir + "_b0" + end,
               raw("sub-01/fmap/sub-01_dir-" + dir + "_epi" + end));
    }
    single.push_back(raw("sub-01/fmap/sub-01_dir-" + dir + "_epi.nii.gz"));
    fs::create_directories(raw("sub-01/dwi"));
    for (const char* end : {".nii.gz", ".json", ".bval", ".bvec"})
      fs::copy(data + "dwi/sub-01_dir-" + dir + "_dwi" + end,
               raw("sub-01/dwi/sub-01_dir-" + dir + "_dwi" + end));
  }
  fs::copy(data + "func", raw("sub-01/func"));
  const ProgramResult result = bids();
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("Done: 5 images corrected"));
  for (const char* run :
       {"dwi/sub-01_dir-AP_dwi", "dwi/sub-01_dir-PA_dwi", "func/sub-01_task-fa_dir-AP_bold"})
    single.insert(single.end(), {"--apply", raw("sub-01/" + std::string(run) + ".nii.gz")});
  single.insert(single.end(), {"-o", folder.file("single")});
  ASSERT_EQ(runMirel(single).status, 0);
  int compared = 0;
  for (const auto& entry : fs::recursive_directory_iterator(out("sub-01"))) {
    if (entry.path().extension() != ".gz") continue;
    const std::string name = entry.path().filename().string();
    EXPECT_TRUE(textOf(entry.path().string()) == textOf(folder.file("single/" + name))) << name;
    ++compared;
  }
  EXPECT_EQ(compared, 11);
}

}  // namespace mirel
