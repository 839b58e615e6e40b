#include <nlohmann/json.hpp>

#include "cli/movedhead.h"
#include "field/belowzero.h"
#include "field/corrector.h"
#include "field/fieldhz.h"

namespace mirel {

// "mirel apply" and "mirel correct" with --interpolation, as a user runs them.

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::Not;

class InterpolationOption : public MovedHead {
 protected:
  json options(const std::string& sidecar) const {
    return json::parse(folder.read(sidecar)).at("Mirel").at("Options");
  }
  ProgramResult correct(const std::string& where, const std::vector<std::string>& more) const {
    std::vector<std::string> words = {"correct",
                                      head("sub-phantom_dir-AP_epi.nii.gz"),
                                      head("sub-phantom_dir-PA_epi.nii.gz"),
                                      "--no-viewer",
                                      "-o",
                                      file(where)};
    words.insert(words.end(), more.begin(), more.end());
    return runMirel(words);
  }
  Volume<float> in(const std::string& name) const {
    return nifti::Reader(file(name)).readVolume(0);
  }
  std::string moved() const { return folder.write("hmc.txt", motionforms::itkText(motions)); }
  static inline const std::string field = "sub-phantom_desc-truth_fieldmap.nii.gz";
};

}  // namespace

TEST_F(InterpolationOption, CubicIsTheDefaultToTheLastByte) {
  ASSERT_EQ(apply({"--motion", moved()}).status, 0);
  const std::string image = folder.read("r.nii.gz"), sidecar = folder.read("r.json");
  EXPECT_EQ(options("r.json").at("Interpolation"), "cubic");
  const ProgramResult asked = apply({"--motion", moved(), "--interpolation", "cubic"});
  EXPECT_EQ(asked.status, 0);
  EXPECT_THAT(asked.err, HasSubstr("Interpolation of the corrected images: cubic B-splines"));
  EXPECT_EQ(folder.read("r.nii.gz"), image);
  EXPECT_EQ(folder.read("r.json"), sidecar);
}

TEST_F(InterpolationOption, CorrectsASeriesByTheKernel) {
  nifti::Reader image(series());
  const Volume<float> shift = shiftVoxels(readField(head(field)), image.header(), {1, -1}, 0.04);
  for (const auto& [name, kernel] : {std::pair{"linear", InterpolationKernel::linear},
                                     {"lanczos", InterpolationKernel::lanczos}}) {
    const ProgramResult result = apply({"--interpolation", name, "--threads", "2"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("Interpolation of the corrected images: "));
    const json told = options("r.json");
    EXPECT_EQ(told.at("Interpolation"), name);
    EXPECT_EQ(told.at("Modulation"), true);
    const std::vector<Volume<float>> found = volumesIn(file("r.nii.gz"));
    // Of the background, which is not modulated, none was added.
    for (int t = 0; t < 4; ++t) {
      Volume<float> expected = correctVolume(image.readVolume(t), shift, 1, Modulation::on, kernel);
      raiseToZero(expected);
      EXPECT_TRUE(found[static_cast<std::size_t>(t)] == expected) << name << t;
    }
    const std::string bytes = folder.read("r.nii.gz");
    ASSERT_EQ(apply({"--interpolation", name, "--threads", "1"}).status, 0);
    EXPECT_EQ(folder.read("r.nii.gz"), bytes);
  }
}

TEST_F(InterpolationOption, TakesMotionOutByTheKernel) {
  const Volume<float> still = nifti::Reader(truth()).readVolume(0);
  const auto distorted = corrected({});
  const auto cubic = corrected({"--motion", moved()});
  for (const std::string name : {"linear", "lanczos"}) {
    const auto found = corrected({"--motion", moved(), "--interpolation", name});
    for (std::size_t t = 1; t < 4; ++t) {
      EXPECT_FALSE(found[t] == cubic[t]);
      EXPECT_LT(rms(found[t], still), 0.6 * rms(distorted[t], still)) << name << t;
    }
    EXPECT_LT(rms(found[2], cubic[2]), name == "linear" ? 60 : 15);
  }
}

// What is found does not depend on how the images are written.
TEST_F(InterpolationOption, FindsTheSameMotion) {
  ASSERT_EQ(apply({"--realign", "--reference", truth(), "--align"}).status, 0);
  const auto found = [&] {
    json told = json::parse(folder.read("r.json")).at("Mirel").at("Series");
    return json{told.at("Realignment"), told.at("Alignment"), told.at("SignCheck"),
                told.at("Motion").at("Check")};
  };
  const json cubic = found();
  ASSERT_EQ(
      apply({"--realign", "--reference", truth(), "--align", "--interpolation", "lanczos"}).status,
      0);
  EXPECT_EQ(found(), cubic);
}

TEST_F(InterpolationOption, CorrectsAPairAndItsSeries) {
  const std::vector<std::string> more = {"--apply", series(), "--json"};
  ASSERT_EQ(correct("cubic", more).status, 0);
  std::vector<std::string> asked = more;
  asked.insert(asked.end(), {"--interpolation", "lanczos"});
  const ProgramResult result = correct("lanczos", asked);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(json::parse(result.out).at("interpolation"), "lanczos");
  for (const std::string name :
       {"sub-phantom_dir-AP_desc-preproc_epi", "sub-phantom_dir-PA_desc-preproc_epi",
        "sub-phantom_desc-preproc_magnitude", "sub-phantom_task-rest_dir-AP_desc-preproc_bold"}) {
    EXPECT_FALSE(in("cubic/" + name + ".nii.gz") == in("lanczos/" + name + ".nii.gz")) << name;
    EXPECT_EQ(options("lanczos/" + name + ".json").at("Interpolation"), "lanczos");
    EXPECT_EQ(options("cubic/" + name + ".json").at("Interpolation"), "cubic");
  }
  for (const std::string name :
       {"sub-phantom_dir-AP_desc-voxels_vdm.nii.gz", "sub-phantom_desc-preproc_fieldmap.nii.gz"})
    EXPECT_TRUE(in("cubic/" + name) == in("lanczos/" + name)) << name;
  const auto record = [&](const std::string& where) {
    return json::parse(folder.read(where + "/sub-phantom_task-rest_dir-AP_desc-preproc_bold.json"))
        .at("Mirel");
  };
  EXPECT_EQ(record("lanczos").at("Series"), record("cubic").at("Series"));
  EXPECT_EQ(record("lanczos").at("Verdict"), record("cubic").at("Verdict"));
  EXPECT_THAT(folder.read("lanczos/report.html"),
              AllOf(HasSubstr("under a Lanczos window"), HasSubstr("Duchon"),
                    Not(HasSubstr("with cubic B-splines"))));
  EXPECT_THAT(folder.read("cubic/report.html"),
              AllOf(HasSubstr("with cubic B-splines"), Not(HasSubstr("Duchon"))));
}

TEST_F(InterpolationOption, CorrectsWithAMeasuredField) {
  const ProgramResult result =
      correct("measured", {"--field-source", head(field), "--interpolation", "linear", "--quiet"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(options("measured/sub-phantom_dir-AP_desc-preproc_epi.json").at("Interpolation"),
            "linear");
}

TEST_F(InterpolationOption, IsRefusedWhereItCannotAct) {
  const auto refusal = [](const ProgramResult& result) {
    EXPECT_EQ(result.status, 2);
    return result.err;
  };
  EXPECT_THAT(
      refusal(apply({"--interpolation", "sinc"})),
      AllOf(HasSubstr("sinc"), HasSubstr("linear"), HasSubstr("cubic"), HasSubstr("lanczos")));
  EXPECT_THAT(refusal(correct("out", {"--restore", "--apply", series(), "--apply", truth(),
                                      "--interpolation", "linear"})),
              HasSubstr("--restore excludes --interpolation, since it joins by least squares"));
  EXPECT_THAT(
      refusal(runMirel({"apply", "--vdm", "a.map", "run.fmr", "--interpolation", "linear"})),
      HasSubstr("--interpolation requires images"));
  EXPECT_FALSE(folder.exists("r.nii.gz"));
}

}  // namespace mirel
