#include "report/verdictpart.h"

#include <gtest/gtest.h>

#include "report/methodstext.h"

namespace {

using namespace mirel;
using namespace mirel::report;

RunRecord pairRun() {
  RunRecord run;
  run.version = "9.8.7";
  PairRecord pair;
  pair.a.options.file = "a.nii.gz";
  pair.b.options.file = "b.nii.gz";
  pair.a.acquisition.direction =
      bids::StatedDirection{{1, -1}, bids::StatedDirection::Source::option};
  pair.b.acquisition.direction =
      bids::StatedDirection{{1, 1}, bids::StatedDirection::Source::option};
  pair.a.acquisition.readout = pair.b.acquisition.readout = bids::Readout{0.05};
  pair.findings.agreement.before = 0.61;
  pair.findings.agreement.after = 0.97;
  run.pair = pair;
  return run;
}

SeriesRecord oppositeSeries() {
  SeriesRecord series;
  series.file = "folder/run.nii.gz";
  series.volumes = 20;
  series.signs = SignCheck{};
  series.signs->verdict = SignCheck::Verdict::opposite;
  series.warnings.push_back(Remark("CHECK THE SIGN in run.json"));
  return series;
}

std::string wordOf(const RunRecord& run) { return verdictPart(run).at("word").string(); }

bool saysFigure(const Json& figures, const std::string& what, const std::string& found) {
  for (const Json& figure : figures.list())
    if (figure.at("what").string() == what && figure.at("found").string() == found) return true;
  return false;
}

TEST(VerdictPart, HasAWordForEachLevelAndItsReasons) {
  RunRecord run = pairRun();
  EXPECT_EQ(wordOf(run), "Trusted");
  run.pair->findings.verdict.add(Trust::doubtful, Remark("they hardly differ"));
  EXPECT_EQ(wordOf(run), "Look here");
  run.pair->findings.verdict.add(Trust::doNotTrust, Remark("it is a copy"));
  const Json part = verdictPart(run);
  EXPECT_EQ(part.at("word").string(), "Do not trust");
  EXPECT_EQ(part.at("level").string(), "bad");
  EXPECT_EQ(part.at("reasons").at(1).string(), "it is a copy");
}

TEST(VerdictPart, DoubtsASeriesWithTheWrongSignBesideAGoodPair) {
  RunRecord run = pairRun();
  run.series.push_back(oppositeSeries());
  const Json part = verdictPart(run);
  EXPECT_EQ(part.at("word").string(), "Look here");
  EXPECT_EQ(part.at("reasons").at(0).string(), "CHECK THE SIGN in run.json");
}

TEST(VerdictPart, NeverCallsAGivenFieldTrusted) {
  RunRecord run;
  EXPECT_EQ(wordOf(run), "Corrected");
  run.warnings.push_back(Remark("the head lies off the field"));
  EXPECT_EQ(wordOf(run), "Look here");
  run.series.push_back(oppositeSeries());
  EXPECT_EQ(wordOf(run), "Do not trust");
}

TEST(FiguresPart, TellsDisplacementsInAllUnits) {
  const MeasuredMap map{{0.5, 2, 4, 0.01, 0.002}, 3.0, -20.0};
  const Json figures = figuresPart(pairRun(), map);
  EXPECT_TRUE(saysFigure(figures, "Displacement", "0.50, 2.00, 4.00 voxels; 1.50, 6.00, 12.00 mm"));
  EXPECT_TRUE(saysFigure(figures, "Field", "10.0, 40.0, 80.0 Hz"));
  EXPECT_TRUE(saysFigure(figures, "Beyond repair", "0.2 % of the head"));
  EXPECT_TRUE(saysFigure(figures, "Agreement of the two images", "0.610 before, 0.970 after"));
}

TEST(FiguresPart, SetsTheDifferenceBesideThatOfNoise) {
  RunRecord run = pairRun();
  run.pair->findings.verdict.figures.residual = 0.021;
  run.pair->findings.verdict.figures.residualOfNoise = 0.034;
  EXPECT_TRUE(saysFigure(figuresPart(run, std::nullopt), "What is left of the difference",
                         "2.1 %; noise alone makes 3.4 %"));
}

TEST(FiguresPart, ClaimsNoMotionOnlyWhereItLooked) {
  RunRecord run = pairRun();
  const std::string what = "Head motion between the images";
  EXPECT_TRUE(saysFigure(figuresPart(run, std::nullopt), what, "none found"));
  run.pair->settings.motion = false;
  EXPECT_TRUE(saysFigure(figuresPart(run, std::nullopt), what, "not looked for"));
}

TEST(MethodsTextOfAPair, HoldsItsFiguresAndReferencesInOrder) {
  const MethodsText text = methodsText(pairRun(), MeasuredMap{{0.5, 2, 4, 0, 0}, 3.0, -20.0});
  for (const char* part : {"Mirel 9.8.7", "axis [1]",
                           "[2, 3] (directions j- and j, total readout "
                           "time 50 ms)",
                           "2.00 voxels (6.00 mm)", "was 0.610 before and 0.970 after"})
    EXPECT_NE(text.paragraph.find(part), std::string::npos) << part << " in " << text.paragraph;
  EXPECT_EQ(text.references.size(), 3U);
}

TEST(MethodsTextOfAPair, NamesBothReadoutTimesWhereTheyDiffer) {
  RunRecord run = pairRun();
  run.pair->b.acquisition.readout = bids::Readout{0.03};
  EXPECT_NE(methodsText(run, std::nullopt).paragraph.find("total readout times 50 and 30 ms)"),
            std::string::npos);
}

}  // namespace
