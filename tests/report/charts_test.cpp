#include "report/charts.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace mirel;
using namespace mirel::report;

TEST(Histogram, CountsEveryValueOnceWithTheRestInTheOutermostBins) {
  // Two in the middle bin, one beyond each end.
  const Json chart = histogram("Field", "Hz", {0.0F, 0.1F, 500.0F, -500.0F}, 61);
  // Bin n is 570 / 61 = 9.34 wide; the highest bar has the full height of 190, the others half.
  EXPECT_EQ(chart.at("paths").at(0).at("d").string(),
            "M60.0 200.0V105.0H69.3V200.0Z"
            "M340.3 200.0V10.0H349.7V200.0Z"
            "M620.7 200.0V105.0H630.0V200.0Z");
  EXPECT_EQ(chart.at("yTicks").at(1).at("text").string(), "50 %");
  EXPECT_EQ(chart.at("alt").string(),
            "Field, from \xe2\x88\x92"
            "61 to 61 Hz");
}

TEST(Histogram, OfNothingIsEmpty) {
  EXPECT_EQ(histogram("Field", "Hz", {}, 1).at("paths").at(0).at("d").string(), "");
}

TEST(Profile, LeavesGapsWhereThereAreNoValues) {
  const double none = std::numeric_limits<double>::quiet_NaN();
  const Json chart =
      profile("Size", "slice", "voxels", {{"median", "median", {0.0, 1.0, none, 1.5, 2.0}}});
  EXPECT_EQ(chart.at("paths").at(0).at("d").string(),
            "M60.0 200.0L202.5 105.0M487.5 57.5L630.0 10.0");
  EXPECT_EQ(chart.at("yTicks").at(2).at("text").string(), "2");
}

}  // namespace
