#include <gmock/gmock.h>

#include "cli/fieldfiles.h"

// mirel correct --field-source: a field that was measured in place of an estimate.

namespace mirel {

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class CorrectFieldSource : public FieldFiles {
 protected:
  static std::string bold() { return input("sub-phantom_task-rest_dir-AP_bold.nii.gz"); }
  json sidecarOf(const std::string& name) const {
    return json::parse(std::ifstream(out("sub-phantom_" + name + ".json")));
  }
};

TEST_F(CorrectFieldSource, CorrectsThePairAndItsSeries) {
  const ProgramResult result = correct({"--field-source", field(), "--apply", bold()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, AllOf(HasSubstr("Field: measured, not estimated"),
                                HasSubstr("nothing was estimated: corrected by it"),
                                Not(HasSubstr("Estimating")), Not(HasSubstr("Warning"))));
  EXPECT_LT(rmsInBrain(imageIn(out("sub-phantom_desc-preproc_fieldmap.nii.gz")), imageIn(field())),
            1e-3);
  EXPECT_GT(correlationInBrain(imageIn(out("sub-phantom_dir-AP_desc-preproc_epi.nii.gz")),
                               imageIn(truth("undistorted_epi.nii.gz"))),
            faithful);
  // What apply makes of the same field.
  ASSERT_EQ(
      runMirel({"apply", "--field", field(), bold(), "-o", file("r.nii.gz"), "--modulate"}).status,
      0);
  EXPECT_LT(rmsInBrain(imageIn(out("sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz")),
                       imageIn(file("r.nii.gz"))),
            1.0);
}

TEST_F(CorrectFieldSource, IsRecordedAsMeasured) {
  ASSERT_EQ(correct({"--field-source", field(), "--apply", bold()}).status, 0);
  for (const char* name : {"desc-preproc_fieldmap", "task-rest_dir-AP_desc-preproc_bold"}) {
    const json record = sidecarOf(name);
    EXPECT_EQ(record["Mirel"]["Options"]["Estimator"], "none") << name;
    EXPECT_FALSE(record["Mirel"]["Options"].contains("HeadMotion"));
    EXPECT_EQ(record["Mirel"]["MeasuredField"]["File"], field());
    EXPECT_EQ(record["Mirel"]["MeasuredField"]["SHA256"].get<std::string>().size(), 64U);
    EXPECT_GT(record["Mirel"]["PairCorrelation"]["After"], 0.97);
    EXPECT_THAT(record["Sources"].dump(), HasSubstr("truth_fieldmap.nii.gz"));
  }
  EXPECT_THAT(sidecarOf("desc-preproc_fieldmap")["Description"].get<std::string>(),
              HasSubstr("Measured off-resonance field f (" + field() + ")"));
  EXPECT_THAT(sidecarOf("dir-AP_desc-preproc_epi")["Description"].get<std::string>(),
              HasSubstr("with the measured field " + field()));
  EXPECT_THAT(textOf(out("report.html")), AllOf(HasSubstr("The off-resonance field was measured"),
                                                Not(HasSubstr("was estimated from two images"))));
}

TEST_F(CorrectFieldSource, IsToldAsJsonAndReplacesItsOwnResultsOnly) {
  const ProgramResult result = correct({"--field-source", field(), "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const json summary = json::parse(result.out);
  EXPECT_EQ(summary["estimator"], "none");
  EXPECT_EQ(summary["measuredField"], field());
  EXPECT_EQ(summary["verdict"]["trust"], "trusted");
  EXPECT_EQ(correct({"--field-source", field()}).status, 0);
  const ProgramResult estimated = correct({});
  EXPECT_EQ(estimated.status, 1);
  EXPECT_THAT(estimated.err, HasSubstr("--overwrite"));
}

TEST_F(CorrectFieldSource, ItsSidecarSaysTheUnit) {
  const std::string plain = changed(field(), "plain.nii.gz", [](float v) { return v; });
  for (const char* option : {"--field-source", "--initial-field", "--prior-field"})
    EXPECT_THAT(correct({option, plain, "--overwrite"}).err,
                HasSubstr("Note: " + plain +
                          " has no sidecar with Units: its values are taken to be Hz (Units in its "
                          "sidecar can say Hz, rad/s or T)"))
        << option;
  sidecar("plain.json", {{"Units", "ppm"}});
  const ProgramResult odd = correct({"--field-source", plain, "--overwrite"});
  EXPECT_EQ(odd.status, 1);
  EXPECT_THAT(odd.err,
              AllOf(HasSubstr("the Units \"ppm\", which are not those of a field or a map; "
                              "say there what its values are (Units: Hz, rad/s or T)"),
                    Not(HasSubstr("--units"))));
}

TEST_F(CorrectFieldSource, TheUncertaintyOfAnEstimateIsOldBesideIt) {
  ASSERT_EQ(correct({"--uncertainty"}).status, 0);
  const ProgramResult measured = correct({"--field-source", field(), "--overwrite"});
  ASSERT_EQ(measured.status, 0) << measured.err;
  EXPECT_THAT(measured.err, HasSubstr("sub-phantom_desc-uncertainty_fieldmap.nii.gz is old: an "
                                      "earlier run made it of other images"));
}

TEST_F(CorrectFieldSource, IsDoubtedWhenTheImagesContradictIt) {
  const ProgramResult turned =
      correct({"--field-source", scaled(field(), "turned.nii.gz", -1), "--strict"});
  EXPECT_EQ(turned.status, 1);
  EXPECT_THAT(turned.err, AllOf(HasSubstr("CHECK THE SIGN of " + file("turned.nii.gz")),
                                HasSubstr("do not trust this result")));
  const ProgramResult radians =
      correct({"--field-source", scaled(field(), "radians.nii.gz", 6.2832)}, "radians");
  EXPECT_THAT(radians.err, AllOf(HasSubstr("CHECK THE SIZE of " + file("radians.nii.gz") +
                                           ": taken 0.159 times"),
                                 HasSubstr("its unit or a readout time may be another one")));
  const Volume<float> brain = imageIn(truth("brain_mask.nii.gz"));
  int voxel = 0;
  const std::string masked = changed(
      field(), "masked.nii.gz", [&](float v) { return brain.data()[voxel++] > 0.0F ? v : 0.0F; });
  EXPECT_THAT(correct({"--field-source", masked}, "masked").err,
              AllOf(HasSubstr("CHECK " + masked + ": it is 0 in"), HasSubstr("Verdict: doubtful")));
}

TEST_F(CorrectFieldSource, ItsSizeIsDoubtedWhenTheImagesContradictIt) {
  for (const auto& [factor, name] : {std::pair(0.5, "half"), std::pair(1.6, "larger")}) {
    const std::string other = scaled(field(), std::string(name) + ".nii.gz", factor);
    const ProgramResult result = correct({"--field-source", other, "--json"}, name);
    EXPECT_THAT(result.err, AllOf(HasSubstr("CHECK THE SIZE of " + other + ": taken "),
                                  Not(HasSubstr("nothing speaks against"))));
    const json best = json::parse(result.out)["bestFieldScale"];
    EXPECT_NEAR(double{best["factor"]} * factor, 1.0, 0.2);
    EXPECT_GT(best["pairCorrelation"], 0.9);
  }
  // Displacements in voxels that do not say so.
  const std::string shift = scaled(field(), "shift.nii.gz", -0.04);
  EXPECT_THAT(correct({"--field-source", shift}, "shift").err,
              HasSubstr("CHECK THE SIZE of " + shift + ": taken -25 times"));
}

TEST_F(CorrectFieldSource, WhoseValuesAreSuspiciousIsDoubtful) {
  // In tesla and in seconds it moves nothing: the images agree as well as they came.
  for (const auto& [hertz, name] :
       {std::pair(42.577478518e6, "tesla"), std::pair(1e6, "seconds")}) {
    const std::string other = scaled(field(), std::string(name) + ".nii.gz", 1 / hertz);
    const ProgramResult result = correct({"--field-source", other}, name);
    EXPECT_EQ(result.status, 0);
    const std::string told = "Warning: CHECK THE FIELD: " + other + " is below 0.01 Hz everywhere";
    EXPECT_THAT(result.err, AllOf(HasSubstr(told), HasSubstr("Verdict: doubtful")));
    EXPECT_EQ(result.err.find(told), result.err.rfind(told)) << "said once";
    const json record =
        json::parse(textOf(file(std::string(name) + "/sub-phantom_desc-preproc_fieldmap.json")));
    EXPECT_EQ(record["Mirel"]["Verdict"]["Trust"], "doubtful");
  }
  // An estimate that begins with it is judged by the images.
  EXPECT_THAT(correct({"--initial-field", file("tesla.nii.gz"), "--json"}, "begun").out,
              HasSubstr(R"("trust": "trusted")"));
}

TEST_F(CorrectFieldSource, IsDoubtedWhereItDoesNotCoverTheHead) {
  const std::string half = changed(
      field(), "half.nii.gz", [](float v) { return v; },
      [](nifti::Header& header) {
        glm::dmat4 affine = header.affine();
        affine[3] += affine[2] * (0.4 * header.dims.z);
        header.setAffine(affine, 1);
      });
  const ProgramResult result = correct({"--field-source", half});
  EXPECT_THAT(result.err, AllOf(HasSubstr("CHECK " + half + ": it covers only "),
                                HasSubstr("and what it is in the rest nobody measured"),
                                Not(HasSubstr("nothing speaks against"))));
}

TEST_F(CorrectFieldSource, ThatHasNoOrientationIsSaidToLieAnywhere) {
  const std::string nowhere = changed(
      field(), "nowhere.nii.gz", [](float v) { return v; },
      [](nifti::Header& header) { header.qformCode = header.sformCode = 0; });
  EXPECT_THAT(correct({"--field-source", nowhere}).err,
              HasSubstr("Warning: " + nowhere + " has no orientation: how the grids of "));
}

TEST_F(CorrectFieldSource, ThatIs0EverywhereIsSoIn100Percent) {
  const std::string zero = changed(field(), "zero.nii.gz", [](float) { return 0.0F; });
  EXPECT_THAT(correct({"--field-source", zero}).err,
              HasSubstr("CHECK " + zero + ": it is 0 in 100 % of the head"));
}

TEST_F(CorrectFieldSource, ExcludesWhatAnEstimateHas) {
  for (const std::vector<std::string>& more :
       std::vector<std::vector<std::string>>{{"--prior-field", field()},
                                             {"--initial-field", field()},
                                             {"--estimator", "mass-preserving"},
                                             {"--fast"},
                                             {"--no-motion"},
                                             {"--intensity-scale", "10"},
                                             {"--uncertainty"},
                                             {"--more", ap()}}) {
    std::vector<std::string> options = {"--field-source", field()};
    options.insert(options.end(), more.begin(), more.end());
    const ProgramResult result = correct(options);
    EXPECT_EQ(result.status, 2) << more.front();
    EXPECT_THAT(result.err, HasSubstr("--field-source excludes"));
    EXPECT_THAT(result.err, HasSubstr(more.front()));
  }
  EXPECT_FALSE(std::filesystem::exists(out()));
  EXPECT_EQ(correct({"--field-source", map()}).status, 1);
}

}  // namespace

}  // namespace mirel
