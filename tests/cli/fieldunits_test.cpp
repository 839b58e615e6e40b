#include <cmath>

#include "cli/fieldfiles.h"

namespace mirel {

// "mirel apply --field" and what the field's file says about its values.

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr double twoPi = 6.283185307179586;
constexpr double protonHzPerTesla = 42.577478518e6;

class FieldUnits : public FieldFiles {};

TEST_F(FieldUnits, AreThoseOfTheSidecarInEverySpelling) {
  const struct {
    const char* units;
    double perHz;
  } cases[] = {{"Hz", 1},
               {"hertz", 1},
               {"rad/s", twoPi},
               {"Radians / second", twoPi},
               {"T", 1 / protonHzPerTesla}};
  for (const auto& [units, perHz] : cases) {
    const std::string other = scaled(field(), "sub-1_fieldmap.nii.gz", perHz);
    sidecar("sub-1_fieldmap.json", {{"Units", units}});
    for (const std::string& image : {ap(), pa()})
      EXPECT_GT(fidelity("--field", other, image), faithful) << units;
    const json record = json::parse(textOf(file("r.json")))["Mirel"]["Field"];
    EXPECT_EQ(record["UnitsSource"], file("sub-1_fieldmap.json"));
    EXPECT_EQ(record["Sidecar"], file("sub-1_fieldmap.json"));
  }
  EXPECT_EQ(json::parse(textOf(file("r.json")))["Mirel"]["Field"]["Units"], "T");
}

TEST_F(FieldUnits, MayBeGivenAndThenCount) {
  const std::string other = scaled(field(), "f.nii.gz", twoPi);
  sidecar("f.json", {{"Units", "Hz"}});
  EXPECT_GT(fidelity("--field", other, ap(), {"--units", "rad/s"}), faithful);
  EXPECT_EQ(apply("--field", other, ap(), {"--units", "furlongs"}).status, 2);
}

TEST_F(FieldUnits, AreHzWithANoteWhereNobodyTellsThem) {
  const std::string other = scaled(field(), "f.nii.gz", 1);
  const ProgramResult result = apply("--field", other, ap());
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, HasSubstr("Note: " + other +
                                    " has no sidecar with Units: its values are taken to be Hz "
                                    "(see --units)"));
  sidecar("f.json", {{"EchoTime", 0.03}});
  EXPECT_THAT(apply("--field", other, ap()).err, HasSubstr("f.json has no Units"));
  sidecar("f.json", {{"Units", "Hz"}});
  EXPECT_THAT(apply("--field", other, ap()).err, Not(HasSubstr("Note")));
}

TEST_F(FieldUnits, ThatCannotBeUsedAreRefusedWithWhatHelps) {
  const std::string other = scaled(field(), "f.nii.gz", 1);
  sidecar("f.json", {{"Units", "ppm"}});
  EXPECT_THAT(refusal(apply("--field", other, ap())),
              AllOf(HasSubstr("f.json has the Units \"ppm\""), HasSubstr("--units")));
  sidecar("f.json", {{"Units", 3}});
  EXPECT_THAT(refusal(apply("--field", other, ap())), HasSubstr("Units that is not a text"));
}

TEST_F(FieldUnits, RawPhaseIsRefusedAndHowToMakeAFieldOfItSaid) {
  const auto refused = [&](const std::string& name) {
    EXPECT_THAT(refusal(apply("--field", name, ap())),
                AllOf(HasSubstr("is a raw phase image"), HasSubstr("make a field of it first")));
  };
  for (const char* name : {"sub-1_phasediff.nii.gz", "sub-1_phase1.nii.gz", "gre_e2_ph.nii.gz"})
    refused(scaled(field(), name, 1));
  const std::string other = scaled(field(), "f.nii.gz", 1);
  for (const json& fields : {json{{"Units", "arbitrary"}}, json{{"Units", "rad"}},
                             json{{"EchoTime1", 0.01}, {"EchoTime2", 0.01246}},
                             json{{"ImageType", {"ORIGINAL", "PRIMARY", "P", "PHASE"}}}}) {
    sidecar("f.json", fields);
    refused(other);
  }
  // Some scanners make the field themselves and keep the echo times.
  sidecar("f.json", {{"Units", "Hz"}, {"EchoTime1", 0.01}, {"EchoTime2", 0.01246}});
  EXPECT_GT(fidelity("--field", other, ap()), faithful);
}

TEST_F(FieldUnits, AMapInVoxelsOrMmIsUsedAsOne) {
  const double size = nifti::Reader(map()).header().voxelSizeMm.y;
  for (const auto& [units, factor] : {std::pair{"voxels", 1.0}, {"mm", size}}) {
    const std::string other = scaled(map(), "d.nii.gz", factor);
    sidecar("d.json", {{"Units", units}, {"PhaseEncodingDirection", "j-"}});
    for (const std::string& image : {ap(), pa()})
      EXPECT_GT(fidelity("--field", other, image), faithful) << units;
    std::filesystem::remove(file("r.nii.gz"));
    sidecar("d.json", {{"Units", units}, {"PhaseEncodingDirection", "i"}});
    EXPECT_THAT(refusal(apply("--field", other, ap())), HasSubstr("shifts along i"));
  }
}

TEST_F(FieldUnits, CoefficientsOfSplinesAreNoField) {
  const std::string other = changed(
      field(), "b_fieldcoef.nii.gz", [](float v) { return v; },
      [](nifti::Header& header) { header.intentCode = 2016; });
  EXPECT_THAT(refusal(apply("--field", other, ap())), HasSubstr("coefficients of splines"));
  EXPECT_THAT(
      refusal(apply("--field", scaled(field(), "sub-1_desc-coeff_fieldmap.nii.gz", 1), ap())),
      HasSubstr("coefficients of splines (desc-coeff)"));
}

TEST_F(FieldUnits, ValuesThatNoFieldHasAreDoubted) {
  const auto doubt = [&](const std::string& name) {
    return apply("--field", name, ap(), {"--quiet"}).err;
  };
  const double largest = 4000 / static_cast<double>(imageIn(field()).max());
  EXPECT_THAT(
      doubt(changed(field(), "whole.nii.gz", [](float v) { return std::round(v); })),
      HasSubstr("Warning: CHECK THE FIELD: " + file("whole.nii.gz") + " holds whole numbers only"));
  EXPECT_THAT(
      doubt(changed(field(), "raw.nii.gz",
                    [](float v) { return v > 0 ? 4094.0f - v / 100 : -4096.0f - v / 100; })),
      HasSubstr("which is the range of raw phase images"));
  EXPECT_THAT(doubt(scaled(field(), "big.nii.gz", 100 * largest)),
              HasSubstr("Hz in half of its voxels, which no head has"));
  EXPECT_THAT(doubt(scaled(field(), "small.nii.gz", 1e-8)), HasSubstr("so that nothing moves"));
  EXPECT_THAT(doubt(scaled(field(), "turns.nii.gz", twoPi)),
              AllOf(HasSubstr("CHECK THE UNIT of " + file("turns.nii.gz")),
                    HasSubstr("displaced by more than a quarter of the image")));
  EXPECT_EQ(doubt(field()), "");
}

TEST_F(FieldUnits, CountInTheOtherDirectionToo) {
  const std::string other = scaled(field(), "f.nii.gz", twoPi);
  sidecar("f.json", {{"Units", "rad/s"}});
  ASSERT_EQ(runMirel({"field", "--to-map", other, "--reference", ap(), "-o", file("m.map")}).status,
            0);
  EXPECT_GT(fidelity("--vdm", file("m.map"), ap()), faithful);
  const std::string mm = scaled(map(), "d.nii.gz", nifti::Reader(map()).header().voxelSizeMm.y);
  sidecar("d.json", {{"Units", "mm"}, {"PhaseEncodingDirection", "j-"}});
  for (const std::string& image : {ap(), pa()}) {
    ASSERT_EQ(
        runMirel({"field", "--from-map", mm, "--reference", image, "-o", file("g.nii.gz")}).status,
        0);
    EXPECT_LT(rmsInBrain(imageIn(file("g.nii.gz")), imageIn(field())), 0.01);
  }
}

}  // namespace

}  // namespace mirel
