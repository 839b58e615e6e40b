#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

#include "cli/browser.h"
#include "cli/correctpair.h"
#include "cli/plainimage.h"

namespace mirel {

// The viewer of a report in a real browser: what it says of a voxel is what the file has there.

namespace {

using nlohmann::json;

const std::string below = "below ";
// Half a step of the field, whose colours end at 100 to 125 Hz, and half a digit.
constexpr double fieldStep = 0.25 + 0.05;

double number(std::string text) {
  if (text.rfind(below, 0) == 0) text.erase(0, below.size());
  const std::string minus = "\u2212";
  if (text.rfind(minus, 0) == 0) text.replace(0, minus.size(), "-");
  return std::stod(text);
}

class Viewer : public CorrectPair {
 protected:
  void SetUp() override {
    if (!MIREL_HAS_VIEWER) GTEST_SKIP() << "Mirel was built without the viewer (scripts/viewer.sh)";
    if (!browser.isThere()) GTEST_SKIP() << noBrowser;
  }

  json looked(const std::vector<std::string>& options = {}) const {
    return browser.looked(MIREL_VIEWER_SCRIPT, out("report.html"), file(""), options);
  }

  const Browser browser{};

  // What the file has at the voxel of a reading.
  static double valueAt(const std::string& fileName, const json& voxel) {
    const PlainImage image(fileName);
    const int i = voxel[0], j = voxel[1], k = voxel[2];
    return image.values()[static_cast<std::size_t>(i + image.dim(1) * (j + image.dim(2) * k))];
  }

  // How far off it is said to be, if at all.
  static double marginOf(const std::string& text) {
    const std::string sign = "\u00b1";
    const std::size_t at = text.find(sign);
    // Told with one digit.
    return at == std::string::npos ? 0 : 1.5 * std::stod(text.substr(at + sign.size()));
  }

  // Besides that `step`: the last digit that is told, or the rounding of the file.
  static void expectFile(const json& read, const char* what, const std::string& fileName,
                         double step) {
    const std::string told = read[what];
    const double value = valueAt(fileName, read["voxel"]);
    const std::string where = read.dump(1) + "\n" + fileName;
    if (told.rfind(below, 0) == 0) {
      EXPECT_LT(value, number(told) + step) << where;
    } else {
      EXPECT_NEAR(number(told), value, step + marginOf(told)) << where;
    }
  }
};

void expectScrolled(const json& seen) {
  std::map<std::string, json> reads;
  for (const json& read : seen["reads"]) reads[read["how"]] = read["voxel"];
  const auto moved = [&](const char* from, int i, int j, int k) {
    json place = reads[from];
    place[0] = int{place[0]} + i;
    place[1] = int{place[1]} + j;
    place[2] = int{place[2]} + k;
    return place;
  };
  EXPECT_EQ(reads["chosen"], reads["start"]);
  EXPECT_EQ(reads["arrows"], moved("start", -2, 1, 1));
  EXPECT_EQ(reads["slider"], moved("arrows", 0, 0, 1));
  EXPECT_NE(reads["hover"], reads["slider"]);
  EXPECT_EQ(reads["click"], reads["hover"]);
  EXPECT_EQ(reads["wheel"], moved("click", 0, 0, -1));
  // A finger a little further to the right.
  EXPECT_GT(reads["touch"][0], reads["wheel"][0]);
  EXPECT_EQ(reads["touch"][2], reads["wheel"][2]);
}

void expectFits(const json& seen) {
  for (const char* width : {"360", "1600"}) {
    const json& size = seen["sizes"][width];
    EXPECT_EQ(size["scrolls"], 0) << width;
    EXPECT_EQ(size["overlaps"], json::array()) << width;
    EXPECT_EQ(size["wider"], json::array()) << width;
  }
}

// In mm, to the decimal that is told.
void expectPlace(const json& read, const PlainImage& image) {
  std::istringstream words(read["place"].get<std::string>());
  for (int row = 0; row < 3; ++row) {
    double mm = image.sform(row, 3);
    for (int axis = 0; axis < 3; ++axis)
      mm += image.sform(row, axis) * read["voxel"][axis].get<double>();
    std::string word;
    words >> word;
    EXPECT_NEAR(number(word), mm, 0.051) << read.dump(1);
  }
}

TEST_F(Viewer, ScrollsAndTellsWhatTheFilesHold) {
  ASSERT_EQ(correct({"--quiet", "--fast"}).status, 0);
  const json seen = looked();
  ASSERT_FALSE(seen.contains("failed")) << seen.dump(1);
  ASSERT_EQ(seen["state"], "ready") << seen.dump(1);
  EXPECT_EQ(seen["errors"], json::array());
  EXPECT_EQ(seen["requests"], json::array());
  EXPECT_EQ(seen["colours"], true) << "the field's opacity";

  // The page's own images are rounded less than the corrected ones in their files.
  const std::map<std::string, std::pair<std::string, double>> files = {
      {"First", {ap(), 0}},
      {"Second", {pa(), 0}},
      {"First, corrected", {out("sub-phantom_dir-AP_desc-preproc_epi.nii.gz"), 1.01}},
      {"Second, corrected", {out("sub-phantom_dir-PA_desc-preproc_epi.nii.gz"), 1.01}},
      {"Mean, corrected", {out("sub-phantom_desc-preproc_magnitude.nii.gz"), 1.01}}};
  std::set<std::string> looks;
  for (const json& read : seen["reads"]) {
    const auto& [file, step] = files.at(read["image"]);
    looks.insert(read["image"]);
    expectFile(read, "value", file, step);
    expectFile(read, "field", out("sub-phantom_desc-preproc_fieldmap.nii.gz"), fieldStep);
    expectFile(read, "displacement", out("sub-phantom_dir-AP_desc-voxels_vdm.nii.gz"), 0.016);
  }
  EXPECT_EQ(looks.size(), files.size());
  for (const json& read : seen["reads"]) {
    const std::string told = read["value"], how = read["how"];
    const bool isDark = told.rfind(below, 0) == 0;
    if (how == "corner" || how == "chosen") {
      EXPECT_EQ(isDark, how == "corner") << read.dump(1);
    }
  }
  EXPECT_EQ(seen["windows"].size(), files.size());
  for (const json& window : seen["windows"]) EXPECT_EQ(window[0], window[1]);
  expectUsableWithoutSightAndMouse(seen);
  expectScrolled(seen);
  expectFits(seen);
}

TEST_F(Viewer, FindsVoxelsOfAnyOrderOfAxes) {
  // Slices from the top, rows to the left, and encoded along the first axis.
  const auto stored = [](const std::string& name) {
    return PlainImage(name).withExchanged(0, 1).withExchanged(1, 2).withReversed(0).withReversed(1);
  };
  const std::string a = file("sub-x_dir-AP_epi.nii.gz"), b = file("sub-x_dir-PA_epi.nii.gz");
  stored(ap()).write(a);
  stored(pa()).write(b);
  const ProgramResult result = runMirel({"correct", a, b, "--pe-a", "i", "--pe-b", "i-",
                                         "--readout", "0.04", "--fast", "--quiet", "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  const json seen = looked();
  ASSERT_EQ(seen["state"], "ready") << seen.dump(1);
  int looks = 0;
  for (const json& read : seen["reads"]) {
    if (read["image"] == "First") expectFile(read, "value", a, 0), ++looks;
    if (read["image"] == "Second") expectFile(read, "value", b, 0), ++looks;
    expectPlace(read, PlainImage(a));
    expectFile(read, "field", out("sub-x_desc-preproc_fieldmap.nii.gz"), fieldStep);
  }
  // "First" in a corner, too.
  EXPECT_EQ(looks, 3);
}

TEST_F(Viewer, LeavesTheOtherPartsWhereABrowserHasNoWebGl) {
  ASSERT_EQ(correct({"--quiet", "--fast"}).status, 0);
  const json seen = looked({"without"});
  ASSERT_FALSE(seen.contains("failed")) << seen.dump(1);
  EXPECT_EQ(seen["state"], "unable");
  EXPECT_GT(seen["pictures"], 20);
  EXPECT_EQ(seen["errors"], json::array());
  EXPECT_EQ(seen["sizes"]["360"]["overlaps"], json::array());
}

}  // namespace

}  // namespace mirel
