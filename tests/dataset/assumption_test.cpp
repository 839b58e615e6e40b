#include <gmock/gmock.h>

#include "dataset/plan.h"
#include "dataset/planned.h"

namespace mirel::dataset {

// What the images themselves tell where no sidecar says which field is theirs.

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string ap = "sub-1/fmap/sub-1_dir-AP_epi.nii.gz";
const std::string pa = "sub-1/fmap/sub-1_dir-PA_epi.nii.gz";
const std::string rest = "sub-1/func/sub-1_task-rest_bold.nii.gz";
const std::string pair = "sub-1_dir-AP_epi.nii.gz+sub-1_dir-PA_epi.nii.gz (images)";

SubjectPlan planOf(std::vector<ImageFacts> images) { return planSubject("1", std::move(images)); }

ImageFacts moved(ImageFacts image, double x) {
  image.grid->affine[3][0] = x;
  return image;
}

ImageFacts shimmed(ImageFacts image, double current) {
  image.shim = {current, 2, 3};
  return image;
}

}  // namespace

TEST(Assumption, ThePairOfTheSessionIsTakenAndSaidToBeAssumed) {
  const SubjectPlan plan = planOf({facts(ap, "j-"), facts(pa, "j"), facts(rest, "i")});
  EXPECT_EQ(fateOf(plan, rest), pair);
  EXPECT_THAT(plan.planned.back().reason, StartsWith("assumed, since no sidecar says it: "));
}

TEST(Assumption, TwoPairsAndNoTimesAreNoReasonToGuess) {
  const std::string ap2 = "sub-1/fmap/sub-1_dir-AP_run-2_epi.nii.gz";
  const std::string pa2 = "sub-1/fmap/sub-1_dir-PA_run-2_epi.nii.gz";
  EXPECT_THAT(fateOf(planOf({facts(ap, "j-"), facts(ap2, "j-"), facts(pa, "j"), facts(pa2, "j"),
                             facts(rest, "j")}),
                     rest),
              AllOf(StartsWith("left: several pairs"),
                    HasSubstr("sub-1_dir-AP_epi.nii.gz and sub-1_dir-PA_epi.nii.gz"),
                    HasSubstr("sub-1_dir-AP_run-2_epi.nii.gz and sub-1_dir-PA_run-2_epi.nii.gz")));
  EXPECT_EQ(
      fateOf(planOf({at(facts(ap, "j-"), 10), at(facts(ap2, "j-"), 500), at(facts(pa, "j"), 20),
                     at(facts(pa2, "j"), 510), at(facts(rest, "j"), 100)}),
             rest),
      pair);
}

TEST(Assumption, AnotherSessionShimOrPlaceIsNotTaken) {
  const std::string other = "sub-1/ses-b/func/sub-1_ses-b_task-rest_bold.nii.gz";
  EXPECT_THAT(fateOf(planOf({facts(ap, "j-"), facts(pa, "j"), facts(other, "j")}), other),
              StartsWith("left: nothing in its session tells its field"));
  EXPECT_THAT(fateOf(planOf({shimmed(facts(ap, "j-"), 1), shimmed(facts(pa, "j"), 1),
                             shimmed(facts(rest, "j"), 9)}),
                     rest),
              AllOf(StartsWith("left: "), HasSubstr("have another ShimSetting")));
  EXPECT_EQ(fateOf(planOf({shimmed(facts(ap, "j-"), 1), shimmed(facts(pa, "j"), 1),
                           shimmed(facts(rest, "j"), 1)}),
                   rest),
            pair);
  EXPECT_THAT(fateOf(planOf({facts(ap, "j-"), facts(pa, "j"), moved(facts(rest, "j"), 90)}), rest),
              StartsWith("left: "));
}

TEST(Assumption, ImagesThatMakeNoPairAreNamed) {
  EXPECT_THAT(fateOf(planOf({facts(ap, "j-"), moved(facts(pa, "j"), 1), facts(rest, "i")}), rest),
              HasSubstr("lie at different places, up to 1 voxel apart"));
  EXPECT_THAT(fateOf(planOf({facts(ap, ""), facts(pa, ""), facts(rest, "j")}), rest),
              StartsWith("left: nothing in its session"));
  EXPECT_THAT(fateOf(planOf({facts(ap, "j-"), facts(rest, "j-")}), rest),
              HasSubstr("have the same direction, j-"));
}

TEST(Assumption, AFieldMapAloneMakesAPairWithAnOppositeSeries) {
  EXPECT_EQ(fateOf(planOf({facts(pa, "j"), facts(rest, "j-")}), rest),
            "sub-1_dir-PA_epi.nii.gz+sub-1_task-rest_bold.nii.gz (images)");
}

TEST(Assumption, BothDirectionsOfASeriesTellItsField) {
  const std::string lr = "sub-1/func/sub-1_task-rest_dir-LR_bold.nii.gz";
  const std::string rl = "sub-1/func/sub-1_task-rest_dir-RL_bold.nii.gz";
  const std::string lrRef = "sub-1/func/sub-1_task-rest_dir-LR_sbref.nii.gz";
  const std::string rlRef = "sub-1/func/sub-1_task-rest_dir-RL_sbref.nii.gz";
  EXPECT_EQ(fateOf(planOf({facts(lr, "i-"), facts(rl, "i")}), rl),
            "sub-1_task-rest_dir-LR_bold.nii.gz+sub-1_task-rest_dir-RL_bold.nii.gz (images)");
  const SubjectPlan plan =
      planOf({facts(lr, "i-"), facts(lrRef, "i-"), facts(rl, "i"), facts(rlRef, "i")});
  for (const std::string& image : {lr, rl, lrRef, rlRef})
    EXPECT_EQ(fateOf(plan, image),
              "sub-1_task-rest_dir-LR_sbref.nii.gz+sub-1_task-rest_dir-RL_sbref.nii.gz (images)");
  EXPECT_EQ(plan.fields.size(), 1U);
}

TEST(Assumption, DiffusionSeriesGiveTheirVolumesWithoutWeighting) {
  const std::string apDwi = "sub-1/dwi/sub-1_dir-AP_dwi.nii.gz";
  const std::string paDwi = "sub-1/dwi/sub-1_dir-PA_dwi.nii.gz";
  SubjectPlan plan =
      planOf({with(facts(apDwi, "j-"), &ImageFacts::unweightedVolume, 3), facts(paDwi, "j")});
  ASSERT_EQ(plan.fields.size(), 1U);
  EXPECT_EQ(plan.fields[0].volumeA, 3);
  EXPECT_EQ(plan.fields[0].label, "Dwi");
  EXPECT_FALSE(plan.fields[0].correctsPair);
  plan = planOf({with(facts(apDwi, "j-"), &ImageFacts::unweightedVolume, -1), facts(paDwi, "j")});
  EXPECT_THAT(fateOf(plan, paDwi), HasSubstr("no volumes without diffusion weighting"));
}

TEST(Assumption, EchoesAndTheReferenceShareOneField) {
  std::vector<ImageFacts> images = {facts(ap, "j-"), facts(pa, "j")};
  for (const char* name : {"echo-1_bold", "echo-2_bold", "echo-1_part-mag_bold", "sbref"})
    images.push_back(facts("sub-1/func/sub-1_task-rest_" + std::string(name) + ".nii.gz", "j"));
  images[2] = intended(images[2], {});
  const SubjectPlan plan = planOf(images);
  EXPECT_EQ(plan.fields.size(), 1U);
  for (const PlannedImage& image : plan.planned) EXPECT_EQ(image.field, std::size_t{0});
}

TEST(Assumption, PerfusionTakesM0ScansOfBothDirections) {
  const std::string asl = "sub-1/perf/sub-1_asl.nii.gz";
  const std::string m0 = "sub-1/perf/sub-1_m0scan.nii.gz";
  const std::string opposite = "sub-1/fmap/sub-1_dir-PA_m0scan.nii.gz";
  const SubjectPlan plan = planOf({facts(opposite, "j"), facts(asl, "j-"), facts(m0, "j-")});
  EXPECT_EQ(fateOf(plan, m0), "sub-1_dir-PA_m0scan.nii.gz+sub-1_m0scan.nii.gz (images)");
  EXPECT_THAT(fateOf(plan, asl), HasSubstr("sub-1_dir-PA_m0scan.nii.gz+"));
}

}  // namespace mirel::dataset
