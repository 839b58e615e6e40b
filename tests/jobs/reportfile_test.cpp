#include "jobs/reportfile.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "base/error.h"
#include "support/temporaryfolder.h"

namespace {

using namespace mirel;
using Others = EarlierResults::Others;

// A page that says no more than whose it is.
struct PlainReport : RunReport {
  std::string body;
  explicit PlainReport(std::string text) : body(std::move(text)) {}
  std::vector<Remark> check(const std::string&, const nifti::Header&) override { return {}; }
  void showPair(const PairInput&, const PairEstimate&) override {}
  void showSeries(const SeriesImages&) override {}
  std::string text(const RunRecord&, const std::vector<std::string>&,
                   const std::string& key) override {
    return std::string("<meta name=\"") + reportKeyName + "\" content=\"" + key + "\">" + body;
  }
};

class ReportFileOf : public testing::Test {
 protected:
  // Writes the page of a run on `inputs`, as a job does; its name.
  std::string written(const std::vector<std::string>& inputs, const std::string& body,
                      Others others = Others::kept) {
    OutputFolder out(folder.file("out"));
    const SourceNames names(folder.file("out"), {}, SourceNames::Description::kept);
    std::vector<ResultInput> madeOf;
    for (const std::string& input : inputs) madeOf.push_back({folder.file(input)});
    const ReportFile file(out, names, madeOf, "sub-" + inputs.front(), others);
    file.announce(out, {});
    PlainReport report(body);
    out.write([&] { file.write(report, {}, out); });
    return file.name();
  }
  bool holds(const std::string& name, const std::string& body) {
    return folder.read("out/" + name).find(body) != std::string::npos;
  }

  TemporaryFolder folder;
};

TEST_F(ReportFileOf, HasThePlainNameAndIsReplacedByThatOfTheSameInputs) {
  EXPECT_EQ(written({"a", "b"}, "first"), "report.html");
  EXPECT_TRUE(holds("report.html", "first"));
  // In whatever order.
  EXPECT_EQ(written({"b", "a"}, "second"), "report.html");
  EXPECT_TRUE(holds("report.html", "second"));
}

TEST_F(ReportFileOf, StandsBesideThatOfOtherInputs) {
  written({"a", "b"}, "first");
  EXPECT_EQ(written({"c", "d"}, "other"), "sub-c_report.html");
  EXPECT_EQ(written({"c", "d"}, "again"), "sub-c_report.html");
  EXPECT_TRUE(holds("report.html", "first"));
  EXPECT_TRUE(holds("sub-c_report.html", "again"));
}

TEST_F(ReportFileOf, ReplacesWhatIsNoneOnlyWhereAsked) {
  std::filesystem::create_directory(folder.file("out"));
  folder.write("out/report.html", "somebody's page");
  folder.write("out/sub-a_report.html", "another page");
  EXPECT_THROW(written({"a", "b"}, "ours"), Error);
  EXPECT_TRUE(holds("report.html", "somebody's page"));
  EXPECT_EQ(written({"a", "b"}, "ours", Others::replaced), "report.html");
  EXPECT_TRUE(holds("report.html", "ours"));
  EXPECT_TRUE(holds("sub-a_report.html", "another page"));
}

}  // namespace
