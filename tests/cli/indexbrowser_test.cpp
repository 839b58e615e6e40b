#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/browser.h"
#include "support/temporaryfolder.h"

namespace mirel {

// What a real browser makes of the index of 500 subjects.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

class IndexInBrowser : public testing::Test {
 protected:
  /// A field and a series, as their records tell of them.
  void subject(int number) const {
    const std::string digits = std::to_string(1000 + number).substr(1);
    const std::string session = number % 2 == 0 ? "a" : "b";
    const std::string name = "sub-" + digits + "_ses-" + session;
    const std::string place = "sub-" + digits + "/ses-" + session;
    const double hz = number == 250 ? 900 : 10 + number % 40;
    write(place + "/fmap/" + name + "_desc-preproc_fieldmap",
          {{"Sources", {"bids:raw:a", "bids:raw:b"}},
           {"Mirel",
            {{"Verdict",
              {{"Trust", number % 10 == 0 ? "doubtful" : "trusted"},
               {"FieldHz", hz},
               {"DisplacementVoxels", hz / 20}}},
             {"PairCorrelation", {{"Before", 0.8}, {"After", 0.95}}}}}});
    write(place + "/func/" + name + "_task-rest_desc-preproc_bold",
          {{"Sources",
            {"bids:raw:" + place + "/func/" + name + "_task-rest_bold.nii.gz",
             "bids::" + place + "/fmap/" + name + "_desc-preproc_fieldmap.nii.gz"}},
           {"Mirel", {{"Series", {{"SignCheck", {{"Verdict", "right"}}}}}}}});
  }
  void write(const std::string& stem, const json& record) const {
    fs::create_directories(fs::path(file("out/" + stem)).parent_path());
    folder.write("out/" + stem + ".json", record.dump());
    folder.write("out/" + stem + "_report.html", icon + "<p>");
  }
  // That of a page of a run: as many pixels as they have at most.
  static std::string iconOfARun() {
    const TemporaryFolder run;
    const std::string stem = run.file("in/sub-phantom_dir-");
    EXPECT_EQ(runMirel({"phantom", run.file("in"), "--size", "40", "40", "16", "--voxel", "5",
                        "--volumes", "0"})
                  .status,
              0);
    EXPECT_EQ(runMirel({"correct", stem + "AP_epi.nii.gz", stem + "PA_epi.nii.gz", "--fast",
                        "--quiet", "--no-viewer", "-o", run.file("out")})
                  .status,
              0);
    const std::string page = textOf(run.file("out/report.html"));
    const std::size_t at = page.find("<link rel=\"icon\"");
    return page.substr(at, page.find('>', at) + 1 - at);
  }
  std::string file(const std::string& name) const { return folder.file(name); }

  const std::string icon = iconOfARun();
  TemporaryFolder folder;
};

}  // namespace

TEST_F(IndexInBrowser, LoadsAtOnceSortsAndFilters) {
  const Browser browser{};
  if (!browser.isThere()) GTEST_SKIP() << noBrowser;
  for (int number = 1; number <= 500; ++number) subject(number);
  const ProgramResult result = runMirel({"bids", file("study"), file("out"), "group"});
  ASSERT_EQ(result.status, 0) << result.err;
  ASSERT_THAT(result.out, HasSubstr("index.html"));
  const json seen = browser.looked(MIREL_INDEX_SCRIPT, file("out/index.html"), file(""));
  ASSERT_FALSE(seen.contains("failed")) << seen.dump(1);

  EXPECT_GT(seen["processorMs"], 1);
  EXPECT_LT(seen["processorMs"], 1000) << "the page was there after " << seen["loadMs"] << " ms";
  EXPECT_LT(fs::file_size(file("out/index.html")), 2U << 20U);
  EXPECT_EQ(seen["thumbnails"], 500);
  EXPECT_GT(seen["decoded"], 0) << "thumbnails in sight";
  EXPECT_EQ(seen["start"], "500 of 500 images");
  EXPECT_EQ(seen["found"], "1 of 500 images");
  EXPECT_EQ(seen["foundRows"], "007 17");
  EXPECT_LT(seen["tabs"], 25) << "steps of the keyboard to the titles of the table";
  EXPECT_EQ(seen["rising"], json({"ascending", "040 10, 080 10, 120 10"}));
  EXPECT_EQ(seen["falling"], json({"descending", "250 900, an outlier, 039 49, 079 49"}));
  EXPECT_EQ(seen["verdict"], "50 of 500 images");
  EXPECT_EQ(seen["session"], "250 of 500 images");
  EXPECT_EQ(seen["outliers"], "1 of 500 images");
  EXPECT_EQ(seen["figure"], "142 of 500 images");
  EXPECT_EQ(seen["end"], "500 of 500 images");
  for (const auto& [width, size] : seen["sizes"].items()) {
    EXPECT_EQ(size["scrolls"], 0) << width;
    EXPECT_EQ(size["wider"], json::array()) << width;
    EXPECT_EQ(size["overlaps"], json::array()) << width;
  }
  expectUsableWithoutSightAndMouse(seen);
  EXPECT_EQ(seen["unnamed"], 0);
  EXPECT_EQ(seen["requests"], json::array());
  EXPECT_EQ(seen["errors"], json::array());
}

}  // namespace mirel
