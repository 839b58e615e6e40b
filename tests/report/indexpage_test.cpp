#include "report/indexpage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "report/thumbnail.h"
#include "support/temporaryfolder.h"

namespace mirel::report {

using testing::HasSubstr;
using testing::Not;

namespace {

dataset::GroupRow row(const std::string& subject, double hz) {
  dataset::GroupRow row;
  row.image = "sub-" + subject + "/ses-a/func/sub-" + subject + "_ses-a_task-rest_bold.nii.gz";
  row.verdict = "doubtful";
  row.fieldHz = hz;
  return row;
}

}  // namespace

TEST(IndexPage, HasARowForEveryImage) {
  dataset::GroupRow first = row("01", 12.5), second = row("02", 90);
  first.page = "sub-01/func/a b_report.html";
  second.outlier = "field_hz";
  second.verdict = "";
  const std::string page = indexPage("study", "1.2", {first, second}, "");
  EXPECT_THAT(page, HasSubstr("by Mirel 1.2: 2 images of 2 subjects"));
  EXPECT_THAT(page, HasSubstr("<tr class=\"look\"><td>01</td><td>a</td><th scope=\"row\">"
                              "sub-01_ses-a_task-rest_bold.nii.gz "
                              "<a href=\"sub-01/func/a%20b_report.html\""));
  EXPECT_THAT(page, HasSubstr("<td class=\"word\">doubtful</td><td>12.5</td><td>n/a</td>"));
  EXPECT_THAT(page, HasSubstr("<tr class=\"unknown outlier\"><td>02</td>"));
  EXPECT_THAT(page, HasSubstr("<td class=\"far\">90<span class=\"unseen\">, an outlier</span>"));
  EXPECT_THAT(page, HasSubstr("<option>a</option>"));
  EXPECT_THAT(page, HasSubstr("<div class=\"outlier\"><dt>outlier</dt><dd>1</dd></div>"));
  EXPECT_EQ(page, indexPage("study", "1.2", {first, second}, ""));
}

TEST(IndexPage, MarksASignThatIsOpposite) {
  dataset::GroupRow wrong = row("01", 12.5);
  wrong.signCheck = "opposite";
  wrong.outlier = "field_hz,sign_check";
  EXPECT_THAT(indexPage("study", "1.2", {wrong}, ""),
              HasSubstr("<td class=\"far\">opposite</td><td>0</td><td>Field, Sign</td>"));
}

TEST(IndexPage, EscapesWhatOthersNamed) {
  dataset::GroupRow evil = row("<script>alert(1)</script>", 1);
  evil.image = "sub-<b>/sub-<b>_task-\"x\"_bold.nii.gz";
  evil.page = "sub-<b>/\"onmouseover=alert(1)?#%.html";
  evil.signCheck = "<img src=x>";
  const std::string page = indexPage("<script>alert(2)</script>", "1", {evil}, "");
  EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
  EXPECT_THAT(page, Not(HasSubstr("<img src=x")));
  EXPECT_THAT(page, Not(HasSubstr("<b>")));
  EXPECT_THAT(page, HasSubstr("href=\"sub-%3Cb%3E/%22onmouseover%3Dalert%281%29%3F%23%25.html\""));
}

TEST(IndexPage, LoadsNothing) {
  const std::string page = indexPage("study", "1", {row("01", 1)}, "");
  EXPECT_THAT(page, HasSubstr("default-src 'none'"));
  EXPECT_THAT(page, Not(HasSubstr("http://")));
  EXPECT_THAT(page, Not(HasSubstr("https://")));
  EXPECT_THAT(page, Not(HasSubstr("{{")));
}

TEST(IndexPage, ShowsTheIconsOfPages) {
  const TemporaryFolder folder;
  const std::string icon = "data:image/png;base64,iVBORw0+/=";
  folder.write("good.html", "<head><link rel=\"icon\" href=\"" + icon + "\"></head>");
  folder.write("none.html", "<head><link rel=\"icon\" href=\"data:,\"></head>");
  folder.write("evil.html", "<link rel=\"icon\" href=\"data:image/png;base64,AA' onload='x()\">");
  EXPECT_EQ(thumbnailOf(folder.file("good.html")), icon);
  for (const char* name : {"none.html", "evil.html", "missing.html"})
    EXPECT_EQ(thumbnailOf(folder.file(name)), "") << name;
  dataset::GroupRow first = row("01", 1), second = row("02", 1), third = row("03", 1);
  first.page = "good.html";
  second.fieldPage = "good.html";
  third.page = "evil.html";
  const std::string page = indexPage("study", "1.2", {first, second, third}, folder.file(""));
  for (const char* subject : {"01", "02"})
    EXPECT_THAT(page, HasSubstr("<img src=\"" + icon + "\" width=\"40\" height=\"40\" " +
                                "loading=\"lazy\" decoding=\"async\" alt=\"Slice of sub-" +
                                subject + "_ses-a_task-rest_bold.nii.gz\">"));
  EXPECT_THAT(page, Not(HasSubstr("Slice of sub-03")));
}

}  // namespace mirel::report
