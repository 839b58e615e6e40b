#include <glm/matrix.hpp>
#include <nlohmann/json.hpp>

#include "cli/movedhead.h"
#include "field/grid.h"
#include "motion/credible.h"
#include "motion/scannertransforms.h"

namespace mirel {

namespace {

using ApplyRealign = MovedHead;

constexpr const char* found = "r_from-orig_to-reference_mode-image_desc-hmc_xfm.txt";

glm::dmat4 placeOf(const RigidMotion& motion) {
  glm::dmat4 m(motion.rotation());
  m[3] = glm::dvec4(motion.translationMm, 1.0);
  return m;
}

nlohmann::json seriesIn(const std::string& sidecar) {
  return nlohmann::json::parse(sidecar).at("Mirel").at("Series");
}

}  // namespace

TEST_F(ApplyRealign, FindsTheMotion) {
  const ProgramResult result = apply({"--realign"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("of 4 volumes the head has moved against volume "));
  EXPECT_THAT(result.err, testing::Not(HasSubstr("CHECK")));
  const nlohmann::json told = seriesIn(folder.read("r.json"));
  EXPECT_EQ(told.at("Realignment").at("VolumesMoved"), 3);
  EXPECT_EQ(told.at("Motion").at("File"), found);
  const std::size_t reference = told.at("Realignment").at("ReferenceVolume");
  const Grid place = gridOf(nifti::Reader(series()).header());
  const std::vector<glm::dmat4> read = readItkTransforms(file(found));
  ASSERT_EQ(read.size(), 4U);
  EXPECT_EQ(read[reference], glm::dmat4(1.0));
  for (std::size_t t = 0; t < 4; ++t)
    EXPECT_LT(displacementMm(
                  glm::inverse(placeOf(motions[t])) * read[t] * placeOf(motions[reference]), place),
              0.1)
        << t;
}

TEST_F(ApplyRealign, WhatIsWrittenGivesTheSameBitsAsMotion) {
  ASSERT_EQ(apply({"--realign"}).status, 0);
  const std::string image = folder.read("r.nii.gz");
  const ProgramResult given = apply({"--motion", file(found)});
  ASSERT_EQ(given.status, 0) << given.err;
  EXPECT_EQ(folder.read("r.nii.gz"), image);
  EXPECT_THAT(given.err, HasSubstr("and its volumes agree with one another so"));
  EXPECT_THAT(given.err, testing::Not(HasSubstr("is old")));
}

TEST_F(ApplyRealign, TransformsThatAnImageWasNotMadeWithAreOld) {
  ASSERT_EQ(apply({"--warp"}).status, 0);
  const std::string warp = "r_from-orig_to-undistorted_mode-image_xfm.nii.gz is old: an earlier ";
  const ProgramResult realigned = apply({"--realign"});
  EXPECT_THAT(realigned.err, HasSubstr(warp));
  const std::string motion = std::string(found) + " is old: an earlier run with other settings";
  EXPECT_THAT(realigned.err, testing::Not(HasSubstr(motion)));
  EXPECT_THAT(apply({"--realign"}).err, testing::Not(HasSubstr(motion)));
  const ProgramResult unmoved = apply({});
  EXPECT_THAT(unmoved.err, HasSubstr(motion));
  EXPECT_THAT(unmoved.err, testing::Not(HasSubstr(warp)));
  EXPECT_THAT(apply({"--motion", folder.write("hmc.txt", motionforms::itkText(motions))}).err,
              testing::AllOf(HasSubstr(warp), HasSubstr(motion)));
}

TEST_F(ApplyRealign, ThreadsChangeNoBit) {
  ASSERT_EQ(apply({"--realign", "--threads", "1"}).status, 0);
  const std::string image = folder.read("r.nii.gz"), text = folder.read(found);
  ASSERT_EQ(apply({"--realign", "--threads", "3"}).status, 0);
  EXPECT_EQ(folder.read("r.nii.gz"), image);
  EXPECT_EQ(folder.read(found), text);
}

// About as close to the truth as with the true motion.
TEST_F(ApplyRealign, CorrectsAsWellAsWithTheTrueMotion) {
  const std::vector<Volume<float>> realigned = corrected({"--realign"});
  const std::size_t reference =
      seriesIn(folder.read("r.json")).at("Realignment").at("ReferenceVolume");
  const auto given = corrected({"--motion", folder.write("hmc.txt", motionforms::itkText(motions)),
                                "--motion-reference", "0"});
  const auto distorted = corrected({});
  for (std::size_t t = 0; t < 4; ++t) {
    if (t == reference) continue;
    const double left = rms(realigned[t], realigned[reference]);
    EXPECT_LT(left, 0.5 * rms(distorted[t], distorted[reference])) << t;
    EXPECT_LT(left, 1.1 * rms(given[t], given[reference])) << t;
  }
}

TEST_F(ApplyRealign, MisuseIsAMatterOfOptions) {
  const std::string itk = folder.write("hmc.txt", motionforms::itkText(motions));
  EXPECT_EQ(apply({"--realign", "--motion", itk}).status, 2);
  EXPECT_EQ(apply({"--realign", "--warp"}).status, 2);
  const ProgramResult one = runMirel(
      {"apply", "--field", head("sub-phantom_desc-truth_fieldmap.nii.gz"),
       head("sub-phantom_dir-AP_epi.nii.gz"), "-o", file("one"), "--realign", "--no-report"});
  EXPECT_EQ(one.status, 0) << one.err;
  EXPECT_THAT(one.err, HasSubstr("no motion was looked for within"));
  EXPECT_THAT(one.err, HasSubstr("since it has one volume"));
}

}  // namespace mirel
