#include <cmath>

#include "cli/fieldfiles.h"

namespace mirel {

// "mirel apply --vdm" on images: unit, axis and sign by what map and image say about themselves.

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// With the quick estimate: 0.86 and 0.89; 0.68 and 0.72 uncorrected, 0.5 the wrong way round.
constexpr double better = 0.84;

class MapDirections : public FieldFiles {
 protected:
  double voxelSize() const { return nifti::Reader(map()).header().voxelSizeMm.y; }
  /// A map without a word about itself.
  std::string bareMap() const { return scaled(map(), "bare.nii.gz", 1); }
};

TEST_F(MapDirections, OneOfTheFirstImageIsTurnedRoundForTheSecond) {
  EXPECT_GT(fidelity("--vdm", map(), ap()), faithful);
  EXPECT_GT(fidelity("--vdm", map(), pa()), faithful);
  const ProgramResult result = apply("--vdm", map(), pa());
  EXPECT_THAT(result.err, AllOf(HasSubstr("phase encoding j,"), HasSubstr("map turned round"),
                                HasSubstr("is for j- (" + truth("truth_displacement.json") + ")")));
  const json series = json::parse(textOf(file("r.json")))["Mirel"]["Series"];
  EXPECT_EQ(series["PhaseEncodingDirection"], "j");
  EXPECT_EQ(series["DisplacementAxis"], "j");
  EXPECT_EQ(series["DisplacementFactor"], -1);
}

TEST_F(MapDirections, AnOptionThatTheSidecarContradictsIsWarnedOf) {
  EXPECT_THAT(
      apply("--vdm", map(), ap(), {"--vdm-pe", "j"}).err,
      HasSubstr("Warning: the phase encoding j given for " + map() +
                " is not that of its sidecar " + truth("truth_displacement.json") + ", j-"));
  EXPECT_EQ(apply("--vdm", map(), ap(), {"--vdm-pe", "j-", "--quiet"}).err, "");
}

TEST_F(MapDirections, MillimetresAreConverted) {
  const std::string mm = scaled(map(), "d.nii.gz", voxelSize());
  sidecar("d.json", {{"Units", "mm"}, {"PhaseEncodingDirection", "j-"}});
  for (const std::string& image : {ap(), pa()}) EXPECT_GT(fidelity("--vdm", mm, image), faithful);
  std::filesystem::remove(file("d.json"));
  EXPECT_GT(fidelity("--vdm", mm, ap(), {"--units", "mm", "--vdm-pe", "j-"}), faithful);
  EXPECT_THAT(apply("--vdm", mm, ap()).err,
              HasSubstr("d.nii.gz has no sidecar with Units: its values are taken to be voxels"));
}

TEST_F(MapDirections, TheResultsOfTheProgramComeBack) {
  ASSERT_EQ(correct({"--fast"}).status, 0);
  for (const auto& entry : std::filesystem::directory_iterator(out())) {
    const std::string name = entry.path().string();
    if (!name.ends_with(".json") || name.ends_with("dataset_description.json")) continue;
    const json record = json::parse(textOf(name));
    const std::string units = record.value("Units", "");
    if (units.empty() || name.find("xfm") != std::string::npos) continue;
    const std::string image = name.substr(0, name.size() - 5) + ".nii.gz";
    if (nifti::Reader(image, nifti::Contents::vectorsToo).header().vectorComponents > 1) continue;
    if (units != "Hz") {
      EXPECT_EQ(record["PhaseEncodingDirection"], "j-") << name;
    }
    const char* option = units == "Hz" ? "--field" : "--vdm";
    const double first = fidelity(option, image, ap()), second = fidelity(option, image, pa());
    EXPECT_GT(first, better) << name;
    EXPECT_GT(second, better) << name;
  }
}

TEST_F(MapDirections, TheRecordOfAnOlderMapIsEnough) {
  const std::string bareName = bareMap();
  sidecar("bare.json", {{"Units", "voxels"},
                        {"Mirel",
                         {{"Inputs",
                           {{{"File", "a.nii"},
                             {"PhaseEncodingDirection", "j-"},
                             {"PhaseEncodingDirectionSource", "a.json"},
                             {"TotalReadoutTime", {{"Seconds", 0.04}}}},
                            {{"File", "b.nii"}, {"PhaseEncodingDirection", "j"}}}}}}});
  for (const std::string& image : {ap(), pa()})
    EXPECT_GT(fidelity("--vdm", bareName, image), faithful);
}

TEST_F(MapDirections, ImagesOfAnUnknownPairAreKnownByTheirChecksums) {
  const std::string a = bare(ap(), "a.nii.gz"), b = bare(pa(), "b.nii.gz");
  ASSERT_EQ(runMirel({"correct", a, b, "--fast", "-o", out()}).status, 0);
  std::string found;
  for (const auto& entry : std::filesystem::directory_iterator(out()))
    if (entry.path().string().find("desc-voxels") != std::string::npos &&
        entry.path().string().ends_with(".nii.gz"))
      found = entry.path().string();
  ASSERT_NE(found, "");
  EXPECT_GT(fidelity("--vdm", found, a), better);
  EXPECT_GT(fidelity("--vdm", found, b), better);
  // Of any other nothing is known: as it stands, along the axis that was assumed.
  const std::string other = scaled(ap(), "other.nii.gz", 1.5);
  EXPECT_GT(fidelity("--vdm", found, other), better);
}

TEST_F(MapDirections, TheAxisIsThatOfTheImageWhereTheMapHasNone) {
  const std::string folderName = file("x");
  ASSERT_EQ(
      runMirel({"phantom", folderName, "--size", "48", "40", "28", "--voxel", "4.5", "--readout",
                "0.04", "--max-shift", "3", "--volumes", "0", "--direction", "i"})
          .status,
      0);
  const std::string shift = folderName + "/sub-phantom_desc-truth_displacement.nii.gz";
  const std::string plain = scaled(shift, "plain.nii.gz", 1);
  const Volume<float> undistorted =
      imageIn(folderName + "/sub-phantom_desc-undistorted_epi.nii.gz");
  const Volume<float> mask = imageIn(folderName + "/sub-phantom_desc-brain_mask.nii.gz");
  const auto rms = [&](const std::string& image, const std::string& by,
                       const std::vector<std::string>& more = {}) {
    const ProgramResult result = apply("--vdm", by, image, more);
    EXPECT_EQ(result.status, 0) << result.err;
    const Volume<float> corrected = imageIn(file("r.nii.gz"));
    double sum = 0, n = 0;
    for (int i = 0; i < mask.size(); ++i)
      if (mask.data()[i] != 0) {
        const double d = static_cast<double>(corrected.data()[i] - undistorted.data()[i]);
        sum += d * d;
        n += 1;
      }
    return std::sqrt(sum / n);
  };
  const std::string first = folderName + "/sub-phantom_dir-RL_epi.nii.gz",
                    second = folderName + "/sub-phantom_dir-LR_epi.nii.gz";
  EXPECT_LT(rms(first, shift), 40) << "the noise is 28";
  EXPECT_LT(rms(second, shift), 40);
  EXPECT_LT(rms(first, plain), 40) << "by the sidecar of the image";
  EXPECT_LT(rms(second, plain, {"--vdm-pe", "i-"}), 40);
  const std::string image = bare(first, "first.nii.gz");
  EXPECT_LT(rms(image, plain, {"--rllr"}), 40);
  EXPECT_LT(rms(image, plain, {"--pe", "i-"}), 40);
  EXPECT_GT(rms(image, plain), 100) << "along j, where nothing is known";
  EXPECT_THAT(apply("--vdm", plain, image).err,
              HasSubstr("tells along which axis it shifts: it is taken to be j"));
}

TEST_F(MapDirections, ThatTheMapDoesNotTellAreWarnedAbout) {
  const ProgramResult result = apply("--vdm", bareMap(), ap(), {"--quiet"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, AllOf(HasSubstr("Warning: " + file("bare.nii.gz") +
                                          " does not say for which phase-encoding direction it is"),
                                HasSubstr("(--vdm-pe says for which direction it is)")));
  EXPECT_GT(fidelity("--vdm", bareMap(), pa(), {"--vdm-pe", "j-"}), faithful);
  EXPECT_EQ(apply("--vdm", bareMap(), ap(), {"--vdm-pe", "j-", "--quiet"}).err, "");
}

TEST_F(MapDirections, ThatCannotBeDecidedAreRefusedWithTheOptionThatDecides) {
  const ProgramResult both =
      runMirel({"apply", "--vdm", bareMap(), ap(), pa(), "-o", file("both")});
  EXPECT_THAT(refusal(both), AllOf(HasSubstr("does not say for which phase-encoding direction"),
                                   HasSubstr("along j-"), HasSubstr("--vdm-pe")));
  EXPECT_FALSE(std::filesystem::exists(file("both")));
  const std::string image = bare(pa(), "image.nii.gz");
  EXPECT_THAT(refusal(apply("--vdm", map(), image)),
              AllOf(HasSubstr(image + " has no sidecar"), HasSubstr("give it with --pe")));
  EXPECT_GT(fidelity("--vdm", map(), image, {"--pe", "j"}), faithful);
  std::filesystem::remove(file("r.nii.gz"));
  EXPECT_THAT(refusal(apply("--vdm", map(), image, {"--pe", "k"})),
              AllOf(HasSubstr("shifts along j"), HasSubstr("phase encoded along k (option)")));
  EXPECT_THAT(refusal(apply("--vdm", field(), ap())),
              AllOf(HasSubstr("is a field in Hz"), HasSubstr("apply it with --field")));
}

TEST_F(MapDirections, AnotherReadoutTimeScalesTheMap) {
  const std::string half = scaled(map(), "half.nii.gz", 0.5);
  sidecar("half.json",
          {{"Units", "voxels"}, {"PhaseEncodingDirection", "j-"}, {"TotalReadoutTime", 0.02}});
  for (const std::string& image : {ap(), pa()}) EXPECT_GT(fidelity("--vdm", half, image), faithful);
  EXPECT_THAT(apply("--vdm", half, ap()).err,
              HasSubstr("is for a readout time of 0.02 s: it is scaled by 2 for " + ap()));
}

TEST_F(MapDirections, AMapOfAnotherPlaceIsDoubtedOrRefused) {
  const auto moved = [&](double mm) {
    const std::string other = changed(
        map(), "moved.nii.gz", [](float v) { return v; },
        [mm](nifti::Header& header) {
          glm::dmat4 affine = header.affine();
          affine[3].x += mm;
          header.setAffine(affine, 1);
        });
    sidecar("moved.json", {{"Units", "voxels"}, {"PhaseEncodingDirection", "j-"}});
    return other;
  };
  EXPECT_EQ(apply("--vdm", moved(0.1), ap(), {"--quiet"}).err, "");
  EXPECT_THAT(apply("--vdm", moved(2.25), ap(), {"--quiet"}).err,
              HasSubstr("lie at different places (up to 0.5 voxels apart)"));
  std::filesystem::remove(file("r.nii.gz"));
  EXPECT_THAT(refusal(apply("--vdm", moved(9), ap())),
              AllOf(HasSubstr("(up to 2 voxels apart)"), HasSubstr("mirel field --from-map")));
}

TEST_F(MapDirections, AskedForAlongXTheyAreLeftOut) {
  const ProgramResult result = apply("--vdm", map(), ap(), {"--rllr", "--quiet"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, AllOf(HasSubstr("says that " + map() +
                                          " shifts along j: it is applied "
                                          "along i, as was asked for"),
                                HasSubstr(ap() + " is phase encoded along j-")));
  EXPECT_EQ(apply("--vdm", map(), ap(), {"--rllr", "--vdm-pe", "i"}).status, 2);
}

}  // namespace

}  // namespace mirel
