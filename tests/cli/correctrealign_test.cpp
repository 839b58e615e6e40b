#include <nlohmann/json.hpp>

#include "cli/movedhead.h"

namespace mirel {

namespace {

/// The pair of the simulated head that moves, and its series.
class CorrectRealign : public MovedHead {
 protected:
  ProgramResult correct(const std::vector<std::string>& more) const {
    std::vector<std::string> words = {"correct",
                                      head("sub-phantom_dir-AP_epi.nii.gz"),
                                      head("sub-phantom_dir-PA_epi.nii.gz"),
                                      "--float",
                                      "--no-report",
                                      "--overwrite",
                                      "-o",
                                      file("out")};
    words.insert(words.end(), more.begin(), more.end());
    return runMirel(words);
  }
  std::vector<Volume<float>> series4() const {
    return volumesIn(file("out/sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz"));
  }
  std::string found() const {
    return "out/sub-phantom_task-rest_dir-AP_from-orig_to-boldref_mode-image_desc-hmc_xfm.txt";
  }
};

}  // namespace

TEST_F(CorrectRealign, RealignsItsSeries) {
  ASSERT_EQ(correct({"--apply", series()}).status, 0);
  const std::vector<Volume<float>> without = series4();
  const ProgramResult result = correct({"--apply", series(), "--realign"});
  ASSERT_EQ(result.status, 0) << result.err;
  const nlohmann::json told =
      nlohmann::json::parse(folder.read("out/sub-phantom_task-rest_dir-AP_desc-preproc_bold.json"))
          .at("Mirel")
          .at("Series");
  EXPECT_EQ(told.at("Realignment").at("VolumesMoved"), 3);
  const std::size_t reference = told.at("Realignment").at("ReferenceVolume");
  const std::vector<Volume<float>> with = series4();
  for (std::size_t t = 0; t < 4; ++t) {
    if (t == reference) continue;
    EXPECT_LT(rms(with[t], with[reference]), 0.5 * rms(without[t], without[reference])) << t;
  }
  // The head is brought back to where the pair has it, not only to a place in the series.
  EXPECT_EQ(told.at("Alignment").at("Outcome"), reference == 0 ? "not moved" : "moved");
}

TEST_F(CorrectRealign, TakesTheMotionThatItWrote) {
  ASSERT_EQ(correct({"--apply", series(), "--realign"}).status, 0);
  const std::string image =
      folder.read("out/sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz");
  const std::string motion = folder.write("found.txt", folder.read(found()));
  const ProgramResult given = correct({"--apply", series(), "--motion", motion});
  ASSERT_EQ(given.status, 0) << given.err;
  EXPECT_EQ(folder.read("out/sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz"), image);
}

TEST_F(CorrectRealign, MisuseIsAMatterOfOptions) {
  const std::string itk = folder.write("hmc.txt", motionforms::itkText(motions));
  const auto refusal = [&](const std::vector<std::string>& options) {
    const ProgramResult result = correct(options);
    EXPECT_EQ(result.status, 2);
    return result.err;
  };
  EXPECT_THAT(refusal({"--realign"}), HasSubstr("--realign requires a series, --apply RUN"));
  EXPECT_THAT(refusal({"--motion", itk}), HasSubstr("--motion requires a series, --apply RUN"));
  EXPECT_THAT(refusal({"--apply", series(), "--apply", truth(), "--motion", itk}),
              HasSubstr("--motion excludes more than one --apply RUN"));
  EXPECT_THAT(refusal({"--apply", series(), "--motion", itk, "--realign"}),
              HasSubstr("--motion excludes --realign"));
  EXPECT_THAT(refusal({"--apply", series(), "--apply", truth(), "--restore", "--realign"}),
              HasSubstr("--realign excludes --restore"));
  EXPECT_THAT(refusal({"--apply", series(), "--warp", "--realign"}), HasSubstr("--warp"));
}

}  // namespace mirel
