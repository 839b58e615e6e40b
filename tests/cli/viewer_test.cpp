#include <gtest/gtest.h>

#include <regex>

#include "cli/correctpair.h"
#include "support/temporaryfolder.h"

namespace mirel {

// The viewer of a report without a browser: when it is there, and that nothing is asked of a
// network.

namespace {

class ViewerInPage : public CorrectPair {
 protected:
  std::string page(const std::string& name = "out/report.html") const { return textOf(file(name)); }
  // A failure need not print megabytes.
  static bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }
};

TEST_F(ViewerInPage, IsThereWhereTheProgramHasIt) {
  ASSERT_EQ(correct({"--quiet", "--fast"}).status, 0);
  const std::string text = page();
  for (const char* part : {"<section id=\"viewer\"", "id=\"viewer-library\"", "NiiVue authors"})
    EXPECT_EQ(holds(text, part), bool{MIREL_HAS_VIEWER}) << part;
  // Scripts by their checksums alone, also the viewer's.
  std::smatch policy;
  ASSERT_TRUE(std::regex_search(text, policy, std::regex("script-src ([^;]*);")));
  EXPECT_TRUE(std::regex_match(policy[1].str(), std::regex("('sha256-[A-Za-z0-9+/]{43}=' ?)+")));
  EXPECT_TRUE(holds(text, "default-src 'none'; img-src data:; style-src 'sha256-"));
}

TEST_F(ViewerInPage, IsLeftOutWhereAsked) {
  ASSERT_EQ(correct({"--quiet", "--fast", "--no-viewer"}).status, 0);
  EXPECT_FALSE(holds(page(), "id=\"viewer"));
  EXPECT_TRUE(holds(page(), "<h2 id=\"images\">"));
  const ProgramResult applied =
      runMirel({"apply", "--field", out("sub-phantom_desc-preproc_fieldmap.nii.gz"), ap(),
                "--no-viewer", "--quiet", "-o", file("applied")});
  ASSERT_EQ(applied.status, 0) << applied.err;
  EXPECT_FALSE(holds(page("applied/report.html"), "id=\"viewer"));
}

TEST_F(ViewerInPage, ShowsTheFirstSeriesWhereThereIsNoPair) {
  if (!MIREL_HAS_VIEWER) GTEST_SKIP() << "Mirel was built without the viewer (scripts/viewer.sh)";
  ASSERT_EQ(correct({"--quiet", "--fast", "--no-viewer"}).status, 0);
  const ProgramResult applied =
      runMirel({"apply", "--field", out("sub-phantom_desc-preproc_fieldmap.nii.gz"), ap(), pa(),
                "--quiet", "-o", file("applied")});
  ASSERT_EQ(applied.status, 0) << applied.err;
  const std::string text = page("applied/report.html");
  EXPECT_TRUE(holds(text, "> As it came</label>"));
  EXPECT_TRUE(holds(text, "The mean of sub-phantom_dir-AP_epi.nii.gz."));
  EXPECT_FALSE(holds(text, "viewer-image-2"));
}

}  // namespace

}  // namespace mirel
