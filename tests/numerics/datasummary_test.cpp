#include "numerics/datasummary.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace mirel {

namespace {

TEST(DataSummary, IsTheDefinition) {
  const std::vector<float> values = {2.0f, -1.0f, 4.0f, 3.0f};
  DataSummaryBuilder builder;
  builder.add(values.data(), values.size());
  const DataSummary summary = builder.summary();
  EXPECT_EQ(summary.values, 4u);
  EXPECT_EQ(summary.nonFinite, 0u);
  EXPECT_EQ(summary.minimum, -1.0);
  EXPECT_EQ(summary.maximum, 4.0);
  EXPECT_DOUBLE_EQ(summary.mean, 2.0);
  EXPECT_DOUBLE_EQ(summary.standardDeviation, std::sqrt((0.0 + 9.0 + 4.0 + 1.0) / 4.0));
  EXPECT_DOUBLE_EQ(summary.rootMeanSquare, std::sqrt((4.0 + 1.0 + 16.0 + 9.0) / 4.0));
}

TEST(DataSummary, PiecesMakeTheWhole) {
  std::vector<float> values;
  for (int i = 0; i < 1000; ++i) values.push_back(std::sin(static_cast<float>(i)) + 1e4f);
  DataSummaryBuilder whole;
  whole.add(values.data(), values.size());
  DataSummaryBuilder pieces;
  pieces.add(values.data(), 1);
  pieces.add(values.data() + 1, 0);
  pieces.add(values.data() + 1, 999);
  EXPECT_EQ(whole.summary().mean, pieces.summary().mean);
  EXPECT_EQ(whole.summary().standardDeviation, pieces.summary().standardDeviation);
  // A sine has the variance 1/2; the offset of 1e4 must not eat it up (floats there: 1e-3).
  EXPECT_NEAR(whole.summary().standardDeviation, std::sqrt(0.5), 2e-3);
}

TEST(DataSummary, NonFiniteValuesAreCountedAndLeftOut) {
  const float infinity = std::numeric_limits<float>::infinity();
  const std::vector<float> values = {std::nanf(""), 5.0f, infinity, -infinity};
  DataSummaryBuilder builder;
  builder.add(values.data(), values.size());
  EXPECT_EQ(builder.summary().nonFinite, 3u);
  EXPECT_EQ(builder.summary().minimum, 5.0);
  EXPECT_EQ(builder.summary().maximum, 5.0);
  EXPECT_EQ(builder.summary().mean, 5.0);
  EXPECT_EQ(builder.summary().standardDeviation, 0.0);
}

TEST(DataSummary, OfNothingIsZero) {
  EXPECT_EQ(DataSummaryBuilder().summary().mean, 0.0);
  EXPECT_EQ(DataSummaryBuilder().summary().rootMeanSquare, 0.0);
}

}  // namespace

}  // namespace mirel
