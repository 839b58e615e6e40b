#include "phantom/datasetplan.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <utility>

namespace mirel {

namespace {

TEST(DatasetPlanTest, FourSubjectsShowEveryLinkAndBothAxes) {
  const PhantomDatasetOptions options;
  std::set<FieldLink> links;
  std::set<PhaseEncodingAxis> axes;
  std::set<double> readouts;
  std::set<bool> directions, reversed;
  for (int number = 1; number <= 4; ++number) {
    const SubjectPlan plan = planSubject(options, number);
    links.insert(plan.link);
    axes.insert(plan.axis);
    readouts.insert({plan.pairReadout, plan.seriesReadout, plan.diffusionReadout});
    directions.insert(plan.seriesLikeSecond);
    reversed.insert(plan.reversedDiffusion);
  }
  EXPECT_EQ(links.size(), 4u);
  EXPECT_EQ(axes.size(), 2u);
  EXPECT_EQ(readouts.size(), 9u);
  EXPECT_EQ(directions.size(), 2u);
  EXPECT_EQ(reversed.size(), 2u);
}

TEST(DatasetPlanTest, EightSubjectsShowEachLinkOnEachAxis) {
  PhantomDatasetOptions options;
  options.subjects = 8;
  std::set<std::pair<FieldLink, PhaseEncodingAxis>> seen;
  for (int number = 1; number <= 8; ++number) {
    const SubjectPlan plan = planSubject(options, number);
    seen.insert({plan.link, plan.axis});
  }
  EXPECT_EQ(seen.size(), 8u);
}

TEST(DatasetPlanTest, LabelsHaveTheDigitsThatAreNeeded) {
  PhantomDatasetOptions options;
  EXPECT_EQ(planSubject(options, 3).label, "03");
  options.subjects = 120;
  EXPECT_EQ(planSubject(options, 3).label, "003");
  EXPECT_EQ(sessionLabels(options), std::vector<std::string>{""});
  options.sessions = 2;
  EXPECT_EQ(sessionLabels(options), (std::vector<std::string>{"01", "02"}));
}

TEST(DatasetPlanTest, DirectionsAreNamedByTheAxis) {
  SubjectPlan plan;
  EXPECT_EQ(plan.direction(false) + " " + plan.phaseEncoding(false), "AP j-");
  EXPECT_EQ(plan.direction(true) + " " + plan.phaseEncoding(true), "PA j");
  plan.axis = PhaseEncodingAxis::x;
  EXPECT_EQ(plan.direction(false) + " " + plan.phaseEncoding(false), "RL i-");
  EXPECT_EQ(plan.direction(true) + " " + plan.phaseEncoding(true), "LR i");
}

TEST(DatasetPlanTest, HeadsAreMadeForTheLongestReadout) {
  PhantomDatasetOptions options;
  options.image.seed = 7;
  const SubjectPlan plan = planSubject(options, 2);
  const PhantomOptions head = headOptions(options, plan);
  EXPECT_EQ(head.seed, 8u);
  EXPECT_EQ(head.axis, PhaseEncodingAxis::x);
  EXPECT_DOUBLE_EQ(head.readoutSeconds, 0.06875);
  EXPECT_DOUBLE_EQ(*head.maxShiftVoxels, 2.5 * 0.06875 / 0.05);
}

TEST(DatasetPlanTest, NumbersThatMakeNoSenseAreRefused) {
  PhantomDatasetOptions options;
  for (const int subjects : {-1, 0, 10000}) {
    options.subjects = subjects;
    EXPECT_THROW(planSubject(options, 1), std::invalid_argument) << subjects;
  }
  for (const int sessions : {-1, 100}) {
    options.sessions = sessions;
    EXPECT_THROW(sessionLabels(options), std::invalid_argument) << sessions;
  }
  options.subjects = 4;
  options.image.readoutSeconds = 5e-7;
  EXPECT_THROW(planSubject(options, 1), std::invalid_argument);
}

}  // namespace

}  // namespace mirel
