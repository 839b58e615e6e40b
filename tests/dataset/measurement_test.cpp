#include "dataset/measurement.h"

#include <gmock/gmock.h>

#include <limits>

#include "dataset/pairing.h"
#include "dataset/planned.h"

namespace mirel::dataset {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

ImageFacts fieldMap(const std::string& name) { return facts("sub-1/fmap/" + name, ""); }

const std::string bold = "sub-1/func/sub-1_task-rest_bold.nii.gz";

SubjectPlan planOf(const std::vector<ImageFacts>& images) { return planSubject("1", images); }

}  // namespace

TEST(Measurement, PhasesOfTwoEchoesAreOne) {
  const std::vector<ImageFacts> images = {
      fieldMap("sub-1_run-1_phase1.nii.gz"), fieldMap("sub-1_run-1_phase2.nii.gz"),
      fieldMap("sub-1_run-2_phase2.nii.gz"), fieldMap("sub-1_phasediff.nii.gz"),
      fieldMap("sub-1_fieldmap.nii.gz"),     facts(bold, "j")};
  EXPECT_THAT(measurementsAmong(images, {0, 1, 2, 3, 4, 5}),
              ElementsAre(ElementsAre(0, 1), ElementsAre(3), ElementsAre(4)));
  // The links may stand beside one of them only.
  EXPECT_THAT(measurementsAmong(images, {1}), ElementsAre(ElementsAre(0, 1)));
  EXPECT_THAT(measurementsAmong(images, {2}), IsEmpty());
  EXPECT_EQ(whyNoMeasurement(images, {2}),
            "sub-1_run-2_phase2.nii.gz is the phase of one echo, "
            "and the other echo's is not there");
  EXPECT_EQ(whyNoMeasurement(images, {2, 3}), "");
}

TEST(Measurement, FaultyOnesGiveNone) {
  std::vector<ImageFacts> images = {fieldMap("sub-1_phase1.nii.gz"),
                                    fieldMap("sub-1_phase2.nii.gz")};
  images[1].fault = "sub-1_phase2.nii.gz was not fetched";
  EXPECT_THAT(measurementsAmong(images, {0, 1}), IsEmpty());
  EXPECT_EQ(whyNoMeasurement(images, {0, 1}), "sub-1_phase2.nii.gz was not fetched");
}

TEST(Measurement, TheNearestInTimeServes) {
  const std::vector<ImageFacts> images = {at(fieldMap("sub-1_run-1_phasediff.nii.gz"), 100),
                                          at(fieldMap("sub-1_run-2_phasediff.nii.gz"), 900),
                                          at(facts(bold, "j"), 800), facts(bold, "j")};
  EXPECT_EQ(nearestMeasurement(images, {{0}, {1}}, 2), MeasuringImages{1});
  EXPECT_EQ(nearestMeasurement(images, {{0}}, 3), MeasuringImages{0});
  EXPECT_EQ(nearestMeasurement(images, {{0}, {1}}, 3), std::nullopt);
  EXPECT_EQ(nearestMeasurement(images, {}, 2), std::nullopt);
}

TEST(Measurement, TimesDecideWhereAllAreKnownAndOneIsTheShortest) {
  constexpr double unknown = std::numeric_limits<double>::infinity();
  EXPECT_EQ(shortestOf({30, 5, 40}), 1U);
  EXPECT_EQ(shortestOf({5, 5, 40}), std::nullopt);
  EXPECT_EQ(shortestOf({5, unknown}), std::nullopt);
  EXPECT_EQ(shortestOf({}), std::nullopt);
}

TEST(Measurement, WithoutLinksIsAssumedWhereItIsTheOnlyOne) {
  const ImageFacts one = fieldMap("sub-1_run-1_phasediff.nii.gz"),
                   two = fieldMap("sub-1_run-2_phasediff.nii.gz");
  EXPECT_EQ(fateOf(planOf({one, facts(bold, "j")}), bold), "sub-1_run-1_phasediff.nii.gz (images)");
  EXPECT_THAT(fateOf(planOf({one, two, facts(bold, "j")}), bold),
              HasSubstr("left: several images of its session measure a field, and nothing says "
                        "which counts: sub-1_run-1_phasediff.nii.gz, or sub-1_run-2_phasediff"));
  EXPECT_THAT(fateOf(planOf({intended(one, {"func/other.nii.gz"}), facts(bold, "j")}), bold),
              HasSubstr("sub-1_run-1_phasediff.nii.gz are by their sidecars for other images"));
  EXPECT_THAT(fateOf(planOf({with(one, &ImageFacts::shim, std::vector<double>{1, 2}),
                             with(facts(bold, "j"), &ImageFacts::shim, std::vector<double>{1, 3})}),
                     bold),
              HasSubstr("have another ShimSetting"));
}

TEST(Measurement, OfAnotherSessionServesNobody) {
  const ImageFacts other = facts("sub-1/ses-2/fmap/sub-1_ses-2_phasediff.nii.gz", "");
  const std::string own = "sub-1/ses-1/func/sub-1_ses-1_task-rest_bold.nii.gz";
  EXPECT_THAT(fateOf(planOf({facts(own, "j"), other}), own), HasSubstr("left: nothing in its"));
}

TEST(Measurement, NeedsAReadoutTimeOfTheImage) {
  ImageFacts series = facts(bold, "j");
  series.readoutSeconds.reset();
  EXPECT_THAT(fateOf(planOf({fieldMap("sub-1_phasediff.nii.gz"), series}), bold),
              HasSubstr("left: its readout time is not known"));
}

}  // namespace mirel::dataset
