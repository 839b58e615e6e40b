#include "numerics/jointhistogram.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "numerics/splitmix.h"

namespace mirel {

namespace {

int draw(std::uint64_t n, int below) {
  return static_cast<int>(splitMix64(n) % static_cast<std::uint64_t>(below));
}

// The definition read literally, from relative frequencies of pairs.
double plainNmi(const std::vector<std::pair<int, int>>& pairs) {
  std::map<int, double> a, b;
  std::map<std::pair<int, int>, double> both;
  const double each = 1.0 / static_cast<double>(pairs.size());
  for (const auto& pair : pairs) {
    a[pair.first] += each;
    b[pair.second] += each;
    both[pair] += each;
  }
  const auto entropy = [](const auto& frequencies) {
    double sum = 0;
    for (const auto& [value, p] : frequencies) sum -= p * std::log(p);
    return sum;
  };
  return (entropy(a) + entropy(b)) / entropy(both);
}

}  // namespace

TEST(JointHistogram, FollowsTheDefinition) {
  JointHistogram joint(7);
  std::vector<std::pair<int, int>> pairs;
  for (std::uint64_t n = 0; n < 500; ++n) {
    const int a = draw(3 * n, 7);
    pairs.emplace_back(a, n % 3 == 0 ? draw(3 * n + 1, 7) : (3 * a + 1) % 7);
    joint.add(pairs.back().first, pairs.back().second);
  }
  EXPECT_NEAR(joint.normalisedMutualInformation(), plainNmi(pairs), 1e-12);
}

TEST(JointHistogram, IsTwoWhereOneImageTellsTheOtherAndOneWhereItTellsNothing) {
  JointHistogram told(5), independent(5);
  for (int a = 0; a < 5; ++a) told.add(a, (2 * a + 3) % 5);
  EXPECT_NEAR(told.normalisedMutualInformation(), 2.0, 1e-12);
  for (int a = 0; a < 5; ++a)
    for (int b = 0; b < 5; ++b) independent.add(a, b);
  EXPECT_NEAR(independent.normalisedMutualInformation(), 1.0, 1e-12);
}

TEST(JointHistogram, HoldsNothingAtFirstAndAfterClearing) {
  JointHistogram joint(4);
  EXPECT_EQ(joint.normalisedMutualInformation(), 1.0);
  joint.add(0, 1);
  joint.add(2, 3);
  EXPECT_GT(joint.normalisedMutualInformation(), 1.5);
  joint.clear();
  EXPECT_EQ(joint.normalisedMutualInformation(), 1.0);
}

TEST(JointHistogram, SharedCountsAreWholeOnesOnWholeBinsAndBeyondTheEnds) {
  JointHistogram whole(6), shared(6);
  for (std::uint64_t n = 0; n < 200; ++n) {
    const int a = draw(n, 6), b = n % 2 == 0 ? a : draw(n + 1000, 6);
    whole.add(a, b);
    shared.addShared(a == 5 ? 5.75 : a, b == 0 ? -3.5 : b);
  }
  EXPECT_EQ(shared.normalisedMutualInformation(), whole.normalisedMutualInformation());
}

TEST(JointHistogram, SharedCountsChangeContinuously) {
  const auto withOneAt = [](double a, double b) {
    JointHistogram joint(5);
    for (int n = 0; n < 5; ++n) joint.add(n, 4 - n);
    joint.addShared(a, b);
    return joint.normalisedMutualInformation();
  };
  for (double a = 0; a < 4; a += 0.25)
    EXPECT_NEAR(withOneAt(a, 1.5), withOneAt(a + 1e-7, 1.5 - 1e-7), 1e-5) << a;
  EXPECT_GT(std::fabs(withOneAt(1.0, 3.0) - withOneAt(1.5, 3.0)), 1e-3);
}

TEST(JointHistogram, RefusesToHaveNoBins) { EXPECT_THROW(JointHistogram(0), std::logic_error); }

}  // namespace mirel
