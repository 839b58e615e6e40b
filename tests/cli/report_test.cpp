#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "cli/correctpair.h"
#include "support/niftifiles.h"

namespace mirel {

// The page of "mirel correct" and "mirel apply", as a user finds it.

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class Report : public CorrectPair {
 protected:
  std::string page(const std::string& name = "out/report.html") const { return textOf(file(name)); }
  // All but the block that tells date, duration and memory.
  static std::string lasting(const std::string& page) {
    const std::size_t from = page.find("<section id=\"this-run\""), to = page.find("</main>", from);
    EXPECT_NE(from, std::string::npos);
    EXPECT_NE(to, std::string::npos);
    return page.substr(0, from) + page.substr(to);
  }
  static std::string field() { return "out/sub-phantom_desc-preproc_fieldmap.nii.gz"; }
};

TEST_F(Report, IsWrittenWithTheResultsAndHoldsThem) {
  const ProgramResult result = correct({"--quiet"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("out/report.html\n"));
  const std::string text = page();
  EXPECT_THAT(text, HasSubstr("<h2 id=\"verdict\">Trusted</h2>"));
  for (const char* part :
       {"sub-phantom_dir-AP_epi.nii.gz", "Total readout time", "0.04 s", "SHA-256", "j-, from",
        "Median, 99th percentile and largest", " Hz", "Beyond repair", "Text for a methods section",
        "Magn. Reson. Med. 34:65-73", "mirel correct ", "--quiet", "in red, j in cyan",
        "Largest memory", "class=\"letter left\">L<"})
    EXPECT_THAT(text, HasSubstr(part));
  EXPECT_LT(text.size(), 3U << 20U);
}

TEST_F(Report, NeedsNoNetwork) {
  ASSERT_EQ(correct({"--quiet", "--fast"}).status, 0);
  const std::string text = page();
  EXPECT_THAT(text, HasSubstr("default-src 'none'"));
  // Nothing that a browser would load from elsewhere.
  EXPECT_FALSE(std::regex_search(text, std::regex("(src|href)=\"(?!data:|#)")));
  EXPECT_THAT(text, Not(HasSubstr("url(")));
  EXPECT_THAT(text, Not(HasSubstr("@import")));
  EXPECT_THAT(text, Not(HasSubstr("{{")));
}

TEST_F(Report, IsLeftOutWhereAsked) {
  ASSERT_EQ(correct({"--quiet", "--fast", "--no-report"}).status, 0);
  EXPECT_FALSE(fs::exists(out("report.html")));
  ASSERT_EQ(correct({"--quiet", "--fast"}).status, 0);
  ASSERT_TRUE(fs::exists(out("report.html")));
  const ProgramResult applied = runMirel(
      {"apply", "--field", file(field()), ap(), "--no-report", "--quiet", "-o", file("applied")});
  ASSERT_EQ(applied.status, 0) << applied.err;
  EXPECT_FALSE(fs::exists(file("applied/report.html")));
}

TEST_F(Report, OfEqualRunsIsEqualButForItsBlockOfTimes) {
  // The first one writes one file more: the folder's dataset_description.json.
  ASSERT_EQ(correct({"--quiet", "--fast"}).status, 0);
  ASSERT_EQ(correct({"--quiet", "--fast"}).status, 0);
  const std::string first = page();
  ASSERT_EQ(correct({"--quiet", "--fast"}).status, 0);
  EXPECT_TRUE(lasting(first) == lasting(page()));
  EXPECT_NE(lasting(first), first);
}

TEST_F(Report, OfOtherImagesKeepsItsName) {
  ASSERT_EQ(correct({"--quiet", "--fast"}).status, 0);
  const std::string first = page();
  const ProgramResult applied =
      runMirel({"apply", "--field", file(field()),
                input("sub-phantom_task-rest_dir-AP_bold.nii.gz"), "--quiet", "-o", out()});
  ASSERT_EQ(applied.status, 0) << applied.err;
  EXPECT_TRUE(page() == first);
  const std::string own = "out/sub-phantom_task-rest_dir-AP_desc-preproc_bold_report.html";
  ASSERT_TRUE(fs::exists(file(own))) << applied.out;
  EXPECT_THAT(page(own), HasSubstr("<h2 id=\"verdict\">Corrected</h2>"));
  EXPECT_THAT(page(own), HasSubstr("mean of 3 volumes"));
}

TEST_F(Report, SaysInWordsNotToTrustACopy) {
  fs::copy_file(ap(), file("copy.nii.gz"));
  const ProgramResult result = runMirel(
      {"correct", ap(), file("copy.nii.gz"), "--pe-b", "j", "--fast", "--quiet", "-o", out()});
  if (result.status != 0) GTEST_SKIP() << "refused: " << result.err;
  EXPECT_THAT(page(), HasSubstr("<h2 id=\"verdict\">Do not trust</h2>"));
  EXPECT_THAT(page(), HasSubstr("it is a copy"));
}

TEST_F(Report, EscapesNamesOfFilesAndFieldsOfSidecars) {
  const std::string evil = "sub-<script>alert(1)<&\"'_dir-AP_epi";
  // A name cannot hold a slash, so that its tag cannot be closed; the option's can.
  fs::copy_file(ap(), file(evil + ".nii.gz"));
  niftifiles::writeText(file(evil + ".json"),
                        R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.04,
                            "SeriesDescription": "<script>alert(2)</script>"})");
  const ProgramResult result = runMirel({"correct", file(evil + ".nii.gz"), pa(), "--fast",
                                         "--quiet", "-o", file("<img src=x onerror=alert(3)>")});
  ASSERT_EQ(result.status, 0) << result.err;
  const std::string text = page("<img src=x onerror=alert(3)>/report.html");
  EXPECT_THAT(text, Not(HasSubstr("<script>alert")));
  EXPECT_THAT(text, Not(HasSubstr("<img src=x")));
  EXPECT_THAT(text, HasSubstr("sub-&lt;script&gt;alert(1)&lt;&amp;&quot;&apos;_dir-AP_epi"));
  EXPECT_THAT(text, HasSubstr("&lt;img src=x onerror=alert(3)&gt;"));
}

TEST_F(Report, ThatCannotBeReplacedLosesNothing) {
  fs::create_directories(out("report.html"));
  const ProgramResult result = correct({"--quiet", "--fast"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("report.html"));
  EXPECT_THAT(namesInOut(), testing::ElementsAre("report.html"));
}

}  // namespace

}  // namespace mirel
