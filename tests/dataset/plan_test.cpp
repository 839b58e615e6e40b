#include "dataset/plan.h"

#include <gmock/gmock.h>

#include "dataset/planned.h"
#include "support/remarks.h"

namespace mirel::dataset {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::string ap = "sub-1/fmap/sub-1_dir-AP_epi.nii.gz";
const std::string pa = "sub-1/fmap/sub-1_dir-PA_epi.nii.gz";
const std::string rest = "sub-1/func/sub-1_task-rest_bold.nii.gz";
const std::string dwi = "sub-1/dwi/sub-1_dwi.nii.gz";
const std::string pair = "sub-1_dir-AP_epi.nii.gz+sub-1_dir-PA_epi.nii.gz";

SubjectPlan planOf(std::vector<ImageFacts> images) { return planSubject("1", std::move(images)); }

}  // namespace

TEST(Plan, IdentifiersComeFirst) {
  const SubjectPlan plan = planOf({identified(facts(ap, "j-"), {"x", "pepolar"}),
                                   identified(facts(pa, "j"), {"pepolar"}),
                                   asking(facts(rest, "j"), {"pepolar"}), facts(dwi, "j")});
  EXPECT_EQ(fateOf(plan, rest), pair + " (B0FieldIdentifier)");
  EXPECT_EQ(fateOf(plan, ap), pair + " (B0FieldIdentifier)");
  EXPECT_EQ(plan.fields.size(), 1U);
  EXPECT_TRUE(plan.fields[0].correctsPair);
  EXPECT_EQ(plan.fields[0].identifier, "pepolar");
  EXPECT_THAT(fateOf(plan, dwi), AllOf(StartsWith("left: "), HasSubstr("for other images")));
}

TEST(Plan, IdentifiersCountAgainstIntendedForWithAWarning) {
  const std::string ap2 = "sub-1/fmap/sub-1_dir-AP_run-2_epi.nii.gz";
  const std::string pa2 = "sub-1/fmap/sub-1_dir-PA_run-2_epi.nii.gz";
  const SubjectPlan plan =
      planOf({identified(facts(ap, "j-"), {"f"}), intended(facts(ap2, "j-"), {"bids::" + rest}),
              identified(facts(pa, "j"), {"f"}), intended(facts(pa2, "j"), {"bids::" + rest}),
              asking(facts(rest, "j"), {"f"})});
  EXPECT_EQ(fateOf(plan, rest), pair + " (B0FieldIdentifier)");
  EXPECT_THAT(textsOf(plan.warnings), ElementsAre(HasSubstr("which counts")));
  EXPECT_EQ(plan.fields.size(), 2U) << "the other pair is corrected, too";
}

TEST(Plan, AnIdentifierThatLeadsNowhereIsToldAndNothingElseIsTaken) {
  const auto fate = [](std::vector<ImageFacts> images) { return fateOf(planOf(images), rest); };
  const ImageFacts asks = asking(facts(rest, "j"), {"f"});
  EXPECT_THAT(fate({facts(ap, "j-"), facts(pa, "j"), asks}),
              HasSubstr("the field f that B0FieldSource asks for is the B0FieldIdentifier of no"));
  EXPECT_THAT(fate({identified(facts(ap, "j-"), {"g"}), asks}), HasSubstr("(there are g)"));
  EXPECT_THAT(
      fate({identified(facts(ap, "j-"), {"f"}), asks}),
      HasSubstr("no image of the direction opposite to that of sub-1_dir-AP_epi.nii.gz, j-"));
  EXPECT_THAT(fate({identified(facts("sub-1/fmap/sub-1_phase1.nii.gz", ""), {"f"}), asks}),
              HasSubstr("the field f that B0FieldSource asks for cannot be found: "
                        "sub-1_phase1.nii.gz is the phase of one echo"));
}

TEST(Plan, AnIdentifierInTwoSessionsNamesBoth) {
  const auto in = [](const std::string& session, const std::string& direction) {
    return identified(facts("sub-1/ses-" + session + "/fmap/sub-1_ses-" + session + "_dir-" +
                                direction + "_epi.nii.gz",
                            direction == "AP" ? "j-" : "j"),
                      {"f"});
  };
  const std::string bold = "sub-1/ses-a/func/sub-1_ses-a_task-rest_bold.nii.gz";
  EXPECT_THAT(fateOf(planOf({in("a", "AP"), in("a", "PA"), in("b", "AP"), in("b", "PA"),
                             asking(facts(bold, "j"), {"f"})}),
                     bold),
              HasSubstr("is in several sessions, ses-a, ses-b"));
}

TEST(Plan, IntendedForInAllSpellings) {
  for (const char* entry :
       {"bids::sub-1/func/sub-1_task-rest_bold.nii.gz", "func/sub-1_task-rest_bold.nii.gz",
        "sub-1/func/sub-1_task-rest_bold.nii.gz", "./func/sub-1_task-rest_bold.nii.gz",
        "/func/sub-1_task-rest_bold.nii.gz", "sub-1_task-rest_bold.nii"}) {
    const SubjectPlan plan = planOf({intended(facts(ap, "j-"), {"func/none_bold.nii.gz", entry}),
                                     intended(facts(pa, "j"), {entry}), facts(rest, "j")});
    EXPECT_EQ(fateOf(plan, rest), pair + " (IntendedFor)") << entry;
    EXPECT_EQ(fateOf(plan, pa), pair + " (IntendedFor)") << entry;
    EXPECT_THAT(textsOf(plan.warnings),
                ElementsAre("IntendedFor of " + ap +
                            " names func/none_bold.nii.gz, but there is no such image"));
  }
  const SubjectPlan other =
      planOf({intended(facts(ap, "j-"), {"bids:raw2:" + rest}),
              intended(facts(pa, "j"), {"bids:raw2:" + rest}), facts(rest, "j")});
  EXPECT_THAT(fateOf(other, rest), StartsWith("left: "));
  EXPECT_THAT(textsOf(other.warnings).at(0), HasSubstr("of another dataset"));
}

TEST(Plan, OneFieldMapIntendedForASeriesMakesAPairWithIt) {
  const std::string ref = "sub-1/func/sub-1_task-rest_sbref.nii.gz";
  const SubjectPlan plan = planOf({intended(facts(pa, "j"), {"func/sub-1_task-rest_bold.nii.gz"}),
                                   facts(rest, "j-"), facts(ref, "j-")});
  const std::string mixed = "sub-1_dir-PA_epi.nii.gz+sub-1_task-rest_sbref.nii.gz (IntendedFor)";
  EXPECT_EQ(fateOf(plan, rest), mixed);
  EXPECT_EQ(fateOf(plan, ref), mixed);
  EXPECT_EQ(fateOf(plan, pa), mixed);
  ASSERT_EQ(plan.fields.size(), 1U);
  EXPECT_FALSE(plan.fields[0].correctsPair);
  EXPECT_EQ(plan.fields[0].label, "EpiSbrefTaskRest");
}

TEST(Plan, FieldMapsIntendedForDifferentRunsAreNotMergedSilently) {
  const std::string run1 = "sub-1/func/sub-1_task-rest_run-1_bold.nii.gz";
  const std::string run2 = "sub-1/func/sub-1_task-rest_run-2_bold.nii.gz";
  const SubjectPlan plan =
      planOf({intended(facts(ap, "j-"), {run1}), intended(facts(pa, "j"), {run2}),
              facts(run1, "j-"), facts(run2, "j")});
  EXPECT_THAT(fateOf(plan, run1),
              AllOf(HasSubstr("sub-1_dir-AP_epi.nii.gz is meant for it by IntendedFor"),
                    HasSubstr("opposite would be sub-1_dir-PA_epi.nii.gz")));
}

TEST(Plan, WhatMeasuresAFieldIsASourceByIntentAndByIdentifier) {
  const ImageFacts measured = facts("sub-1/fmap/sub-1_phasediff.nii.gz", "");
  EXPECT_EQ(fateOf(planOf({intended(measured, {rest}), facts(rest, "j")}), rest),
            "sub-1_phasediff.nii.gz (IntendedFor)");
  EXPECT_EQ(fateOf(planOf({identified(measured, {"f"}), asking(facts(rest, "j"), {"f"})}), rest),
            "sub-1_phasediff.nii.gz (B0FieldIdentifier)");
  EXPECT_THAT(fateOf(planOf({intended(facts("sub-1/fmap/sub-1_phase1.nii.gz", ""), {rest}),
                             facts(rest, "j")}),
                     rest),
              HasSubstr("left: what is meant for it by IntendedFor tells no field"));
}

TEST(Plan, SeveralPairsServeTheirOwnRunsOrTheNearest) {
  const auto epi = [](const std::string& direction, const std::string& run, double seconds) {
    return intended(at(facts("sub-1/fmap/sub-1_dir-" + direction + "_run-" + run + "_epi.nii.gz",
                             direction == "AP" ? "j-" : "j"),
                       seconds),
                    {rest, dwi});
  };
  const SubjectPlan plan =
      planOf({epi("AP", "1", 100), epi("AP", "2", 900), epi("PA", "1", 120), epi("PA", "2", 930),
              at(facts(rest, "j"), 200), at(facts(dwi, "j"), 800)});
  EXPECT_EQ(fateOf(plan, rest),
            "sub-1_dir-AP_run-1_epi.nii.gz+sub-1_dir-PA_run-1_epi.nii.gz (IntendedFor)");
  EXPECT_EQ(fateOf(plan, dwi),
            "sub-1_dir-AP_run-2_epi.nii.gz+sub-1_dir-PA_run-2_epi.nii.gz (IntendedFor)");
  EXPECT_THAT(plan.planned.back().reason, HasSubstr("the nearest in time of 2 pairs (100 s away)"));
}

TEST(Plan, ComplexPartsUnknownDirectionsAndFaultsAreLeftWithTheReason) {
  const std::string phase = "sub-1/func/sub-1_task-rest_part-phase_bold.nii.gz";
  const std::string magnitude = "sub-1/func/sub-1_task-rest_part-mag_bold.nii.gz";
  const SubjectPlan plan =
      planOf({facts(ap, "j-"), facts(pa, "j"), facts(phase, "j"), facts(magnitude, "j"),
              facts(rest, ""), with(facts(dwi, "j"), &ImageFacts::fault, "it is broken")});
  EXPECT_THAT(fateOf(plan, phase), HasSubstr("phase part of a complex image"));
  EXPECT_EQ(fateOf(plan, magnitude), pair + " (images)");
  EXPECT_THAT(fateOf(plan, rest), HasSubstr("direction is not known"));
  EXPECT_EQ(fateOf(plan, dwi), "left: it is broken");
}

TEST(Plan, AnImageWithoutReadoutTimeIsLeftWhereTheFieldIsInHz) {
  const auto none = std::optional<double>();
  ImageFacts unknown = with(facts(rest, "j"), &ImageFacts::readoutSeconds, none);
  EXPECT_THAT(fateOf(planOf({facts(ap, "j-"), facts(pa, "j"), unknown}), rest),
              HasSubstr("its readout time is not known"));
  const auto bare = [&](const std::string& path, const char* direction) {
    return with(facts(path, direction), &ImageFacts::readoutSeconds, none);
  };
  EXPECT_EQ(fateOf(planOf({bare(ap, "j-"), bare(pa, "j"), unknown}), rest), pair + " (images)");
}

TEST(Plan, ReadoutTimesOfSeriesWhereThatOfThePairIsNotKnown) {
  const auto taking = [](const ImageFacts& image, std::optional<double> seconds) {
    return with(image, &ImageFacts::readoutSeconds, seconds);
  };
  const ImageFacts a = taking(facts(ap, "j-"), {}), b = taking(facts(pa, "j"), {});
  const SubjectPlan alike =
      planOf({a, b, taking(facts(rest, "j"), 0.03), taking(facts(dwi, "j"), 0.0302)});
  EXPECT_EQ(fateOf(alike, rest), pair + " (images)");
  EXPECT_EQ(fateOf(alike, dwi), pair + " (images)");
  EXPECT_THAT(textsOf(alike.warnings),
              ElementsAre(AllOf(StartsWith(rest + " has a readout time of 0.03 s, but that of "),
                                HasSubstr("epi.nii.gz is not known: it is taken to be the same")),
                          StartsWith(dwi + " has a readout time of 0.0302 s")));

  const std::string silent = "sub-1/func/sub-1_task-other_bold.nii.gz";
  const SubjectPlan unlike =
      planOf({a, b, taking(facts(silent, "j"), {}), taking(facts(rest, "j"), 0.03),
              taking(facts(dwi, "j"), 0.05)});
  EXPECT_THAT(fateOf(unlike, rest),
              AllOf(StartsWith("left: the readout time of sub-1_dir-AP_epi.nii.gz and "),
                    HasSubstr(" is not known, and their map in voxels is not right both for it "
                              "(0.03 s) and for sub-1_dwi.nii.gz (0.05 s)")));
  EXPECT_THAT(fateOf(unlike, dwi), StartsWith("left: the readout time of "));
  EXPECT_EQ(fateOf(unlike, silent), pair + " (images)");
  EXPECT_EQ(fateOf(unlike, ap), pair + " (images)");
  EXPECT_THAT(unlike.warnings, IsEmpty());
}

TEST(Plan, FieldsOfOneSessionHaveResultsOfOtherNames) {
  const SubjectPlan plan =
      planOf({facts("sub-1/dwi/sub-1_dir-AP_dwi.nii.gz", "j-"),
              facts("sub-1/dwi/sub-1_dir-PA_dwi.nii.gz", "j"), intended(facts(ap, "j-"), {rest}),
              intended(facts("sub-1/fmap/sub-1_dir-LR_epi.nii.gz", "i-"), {"func/x_bold.nii.gz"}),
              intended(facts(pa, "j"), {rest}),
              intended(facts("sub-1/fmap/sub-1_dir-RL_epi.nii.gz", "i"), {"func/x_bold.nii.gz"}),
              facts(rest, "j")});
  std::vector<std::string> labels;
  for (const PlannedField& field : plan.fields) labels.push_back(field.label);
  EXPECT_THAT(labels, ElementsAre("Dwi", "APPA", "LRRL"));
}

}  // namespace mirel::dataset
