#include "cli/progressbar.h"

#include <gmock/gmock.h>

namespace mirel {

TEST(ProgressBar, TheLineTellsStagePercentageAndTimeLeft) {
  EXPECT_EQ(ProgressBar::line("Estimating", 0.25, 10, 80),
            "[######------------------]  25 %  0:30 left  Estimating");
  EXPECT_EQ(ProgressBar::line("Reading", 0, 0, 80), "[------------------------]   0 %  Reading");
  EXPECT_EQ(ProgressBar::line("Writing", 1, 5, 80), "[########################] 100 %  Writing");
  EXPECT_EQ(ProgressBar::line("x", 0.01, 10, 80),
            "[------------------------]   1 %  16:30 left  x");
}

TEST(ProgressBar, TheLineFitsTheTerminal) {
  EXPECT_EQ(ProgressBar::line("Estimating", 0.5, 1, 20).size(), 20U);
  EXPECT_EQ(ProgressBar::line("Estimating", 0.5, 1, 0), "");
  EXPECT_EQ(ProgressBar::line("a", 7, 1, 80), ProgressBar::line("a", 1, 1, 80));
}

TEST(ProgressBar, ElsewhereThereIsALinePerStage) {
  testing::internal::CaptureStderr();
  {
    ProgressBar bar(ProgressBar::Output::lines);
    bar.show("Reading", 0);
    bar.show("Reading", 1);
    bar.show("Estimating", 0.5);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Reading...\nEstimating...\n");
}

TEST(ProgressBar, OnATerminalTheLineIsRedrawnAndWiped) {
  testing::internal::CaptureStderr();
  {
    ProgressBar bar(ProgressBar::Output::bar);
    bar.show("Reading", 0);
  }
  const std::string drawn = testing::internal::GetCapturedStderr();
  EXPECT_THAT(drawn, testing::StartsWith("\r["));
  EXPECT_THAT(drawn, testing::EndsWith("\r\033[K"));
  EXPECT_EQ(drawn.find('\n'), std::string::npos);
}

}  // namespace mirel
