#include "cli/tinystudy.h"

namespace mirel {

// The pages of "mirel bids": one beside each field and each series.

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

namespace {

class BidsPages : public TinyStudy {
 protected:
  static constexpr const char* ofField = "sub-01/fmap/sub-01_desc-preproc_fieldmap_report.html";
  static constexpr const char* ofSeries =
      "sub-01/func/sub-01_task-rest_desc-preproc_bold_report.html";

  void SetUp() override {
    TinyStudy::SetUp();
    subject("01");
  }
  std::vector<std::string> pages() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(out()))
      if (entry.path().extension() == ".html")
        names.push_back(entry.path().lexically_relative(out()).string());
    return names;
  }
};

}  // namespace

TEST_F(BidsPages, StandBesideFieldsAndSeries) {
  ASSERT_EQ(bids().status, 0);
  EXPECT_THAT(pages(), testing::UnorderedElementsAre(ofField, ofSeries));
  const std::string field = textOf(out(ofField)), series = textOf(out(ofSeries));
  EXPECT_THAT(field, HasSubstr("Mean of the pair"));
  EXPECT_THAT(field, HasSubstr(" bids "));
  EXPECT_THAT(field, Not(HasSubstr("Largest memory"))) << "that of all subjects";
  EXPECT_THAT(series, HasSubstr("mean of 2 volumes"));
  EXPECT_THAT(textOf(out(".bidsignore")), HasSubstr("*.html"));
}

TEST_F(BidsPages, HaveTheViewerUnlessItIsLeftOut) {
  const std::string viewer = "<section id=\"viewer\"";
  ASSERT_EQ(bids().status, 0);
  for (const char* page : {ofField, ofSeries})
    EXPECT_EQ(textOf(out(page)).find(viewer) != std::string::npos, bool{MIREL_HAS_VIEWER}) << page;
  fs::remove_all(out());
  ASSERT_EQ(bids({"--no-viewer"}).status, 0);
  for (const char* page : {ofField, ofSeries})
    EXPECT_THAT(textOf(out(page)), Not(HasSubstr(viewer))) << page;
}

TEST_F(BidsPages, OfASeriesDoubtAFieldThatIsNotToBeTrusted) {
  const std::string pa = raw("sub-01/fmap/sub-01_dir-PA_epi.nii.gz");
  fs::copy(raw("sub-01/fmap/sub-01_dir-AP_epi.nii.gz"), pa, fs::copy_options::overwrite_existing);
  const ProgramResult result = bids();
  ASSERT_TRUE(isThere(ofSeries)) << result.out << result.err;
  EXPECT_THAT(textOf(out(ofField)), HasSubstr("<h2 id=\"verdict\">Do not trust</h2>"));
  EXPECT_THAT(textOf(out(ofSeries)), HasSubstr("<h2 id=\"verdict\">Look here</h2>"));
  EXPECT_THAT(textOf(out(ofSeries)), HasSubstr("fieldmap.nii.gz is not to be trusted, by the"));
}

TEST_F(BidsPages, AreLeftOutWhereAskedAndMadeWhereTheyAreMissing) {
  ASSERT_EQ(bids({"--no-reports"}).status, 0);
  EXPECT_THAT(pages(), testing::IsEmpty());
  EXPECT_THAT(bids({"--no-reports"}).err, HasSubstr("3 were up to date"));
  EXPECT_THAT(bids().err, HasSubstr("3 images corrected, 0 were up to date"));
  EXPECT_EQ(pages().size(), 2U);
  EXPECT_THAT(bids().err, HasSubstr("0 images corrected, 3 were up to date"));
  fs::remove(out(ofSeries));
  EXPECT_THAT(bids().err, HasSubstr("1 image corrected, 2 were up to date"));
  EXPECT_EQ(pages().size(), 2U);
}

}  // namespace mirel
