#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/program.h"
#include "field/corrector.h"
#include "field/seriesfiles.h"
#include "files/mapfile.h"
#include "files/myfmr.h"

namespace mirel {

// "mirel apply --vdm" on NIfTI images.

namespace {

using namespace seriesfiles;
using nlohmann::json;
using testing::HasSubstr;

constexpr glm::ivec3 dims{10, 10, 7};

class ApplyMap : public testing::Test {
 protected:
  void SetUp() override {
    writeImage(run, header, [](int t) { return smoothImage(dims, t); });
    const Volume<float> shift = smoothShift(dims);
    Map map;
    map.header = {dims.x, dims.y, dims.z, 1, 1.0f, 5.0f, 0, 0};
    map.values.assign(shift.data(), shift.data() + shift.size());
    writeMapFile(vdm, map);
  }

  ProgramResult apply(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {"apply", "--vdm", vdm};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runMirel(arguments);
  }

  TemporaryFolder folder;
  const std::string vdm = folder.file("a_vdm.map");
  const std::string run = folder.file("sub-1_bold.nii.gz");
  const std::string out = folder.file("out");
  const std::string corrected = out + "/sub-1_desc-preproc_bold.nii.gz";
  nifti::Header header = headerOf(dims, affineOf({3, 3, 4}, 10, {-30, -40, 5}), 3);
};

// The plugin corrects the project that the image becomes.
TEST_F(ApplyMap, GivesWhatTheProjectGetsBitForBit) {
  ASSERT_EQ(runMirel({"convert", run, folder.file("run.fmr")}).status, 0);
  for (const std::vector<std::string>& axis :
       {std::vector<std::string>{}, std::vector<std::string>{"--rllr"}}) {
    std::vector<std::string> onProject = axis, onImage = axis;
    onProject.push_back(folder.file("run.fmr"));
    onImage.insert(onImage.end(), {run, "-o", out});
    ASSERT_EQ(apply(onProject).status, 0);
    const ProgramResult result = apply(onImage);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out,
              corrected + "\n" + out + "/sub-1_desc-preproc_bold.json\n" + out + "/report.html\n");
    const FMR project(folder.file("run_undist.fmr"), true);
    nifti::Reader image(corrected);
    ASSERT_EQ(image.header().volumes, 3);
    for (int t = 0; t < 3; ++t)
      EXPECT_TRUE(image.readVolume(t) == project.stcData[static_cast<std::size_t>(t)]) << t;
  }
}

TEST_F(ApplyMap, TakesTheOptionsForImages) {
  const ProgramResult result =
      apply({run, "-o", out, "--modulate", "--warp", "--threads", "2", "--reference", run});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("3 volumes, displaced along j by " + vdm));
  EXPECT_TRUE(nifti::Reader(corrected).readVolume(1) ==
              correctVolume(smoothImage(dims, 1), smoothShift(dims), 1, Modulation::on));
  EXPECT_TRUE(
      std::filesystem::exists(out + "/sub-1_from-orig_to-undistorted_mode-image_xfm.nii.gz"));
  const json record = json::parse(textOf(out + "/sub-1_desc-preproc_bold.json"));
  EXPECT_EQ(record["Sources"], json({"../sub-1_bold.nii.gz", "../a_vdm.map"}));
  EXPECT_EQ(record["Mirel"]["Map"]["SHA256"].get<std::string>().size(), 64u);
  EXPECT_EQ(record["Mirel"]["Series"]["DisplacementAxis"], "j");
  EXPECT_FALSE(record["Mirel"]["Series"].contains("PhaseEncodingDirection"));
}

TEST_F(ApplyMap, TheMapMayBeAnImage) {
  ASSERT_EQ(apply({run, "-o", folder.file("a.nii")}).status, 0);
  const std::string image = folder.file("d.nii.gz");
  nifti::Header one = header;
  one.volumes = 1;
  writeImage(image, one, [](int) { return smoothShift(dims); });
  ASSERT_EQ(
      runMirel({"apply", "--vdm", image, run, "-o", folder.file("b.nii"), "--threads", "2"}).status,
      0);
  EXPECT_EQ(textOf(folder.file("a.nii")), textOf(folder.file("b.nii")));
  const ProgramResult series = runMirel({"apply", "--vdm", run, run, "-o", folder.file("c.nii")});
  EXPECT_EQ(series.status, 1);
  EXPECT_THAT(series.err, HasSubstr("a displacement map has one"));
}

TEST_F(ApplyMap, AMapOfTheWrongSignIsSaidLoudly) {
  ASSERT_EQ(apply({run, "-o", folder.file("truth.nii")}).status, 0);
  Map map = readMapFile(vdm);
  for (float& value : map.values) value = -value;
  writeMapFile(vdm, map);
  const ProgramResult wrong = apply({run, "-o", out, "--reference", folder.file("truth.nii")});
  EXPECT_EQ(wrong.status, 0);
  EXPECT_THAT(wrong.err, HasSubstr("Warning: CHECK THE SIGN of " + vdm));
}

TEST_F(ApplyMap, FaultsAreOneSentenceAndLeaveNothing) {
  const std::string other = folder.file("other.nii");
  writeImage(other, headerOf({4, 5, 6}, header.affine()), [](int) {
    return smoothImage({4, 5, 6});
  });
  niftifiles::writeText(folder.file("run.fmr"), "");
  const auto before = folder.names();
  const auto refused = [&](const ProgramResult& result, const std::string& text) {
    EXPECT_EQ(result.status, 1) << text;
    EXPECT_THAT(result.err, HasSubstr(text));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_EQ(folder.names(), before) << text;
  };
  refused(apply({other, "-o", out}), "a_vdm.map is a map of 10 x 10 x 7 voxels, but " + other);
  refused(apply({run, folder.file("run.fmr"), "-o", out}), "not both at a time");
  refused(apply({run, "-o", run}), "overwrite");
  Map map = readMapFile(vdm);
  map.values[5] = NAN;
  writeMapFile(vdm, map);
  refused(apply({run, "-o", out}), "1 of its 700 values is not finite");
  niftifiles::writeText(vdm, "no map");
  refused(apply({run, "-o", out}), "cannot read the map " + vdm);
}

TEST_F(ApplyMap, UsageMistakesHaveTheirOwnStatus) {
  EXPECT_EQ(apply({run}).status, 2) << "no output";
  EXPECT_EQ(apply({run, "-o", out, "--field", "f.nii"}).status, 2);
  for (const std::string option : {"--modulate", "--float", "--warp", "--quiet"})
    EXPECT_EQ(apply({"run.fmr", option}).status, 2) << option;
  for (const std::vector<std::string>& more : {std::vector<std::string>{"--pe", "j"},
                                               {"--readout", "0.05"},
                                               {"--sidecar", "a.json"},
                                               {"--vdm-pe", "j"},
                                               {"--units", "mm"}})
    EXPECT_EQ(apply({"run.fmr", more[0], more[1]}).status, 2) << more[0];
  EXPECT_EQ(apply({"run.fmr", "-o", out}).status, 2);
}

}  // namespace

}  // namespace mirel
