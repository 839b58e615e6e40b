#include <glm/gtc/matrix_transform.hpp>
#include <nlohmann/json.hpp>

#include "cli/movedhead.h"
#include "field/grid.h"

namespace mirel {

namespace {

using ApplyMotion = MovedHead;

/// Of intensities, in voxels.
glm::dvec3 centreOfGravity(const Volume<float>& v) {
  glm::dvec3 sum(0);
  double all = 0;
  for (int z = 0; z < v.nz(); ++z)
    for (int y = 0; y < v.ny(); ++y)
      for (int x = 0; x < v.nx(); ++x) {
        sum += static_cast<double>(v.at(x, y, z)) * glm::dvec3(x, y, z);
        all += static_cast<double>(v.at(x, y, z));
      }
  return sum / all;
}

}  // namespace

TEST_F(ApplyMotion, EveryFormGivesTheSameSeries) {
  const auto first =
      corrected({"--motion", folder.write("hmc.txt", motionforms::itkText(motions))});
  ASSERT_EQ(first.size(), 4U);
  const auto expectSame = [&](const std::vector<std::string>& options) {
    const auto other = corrected(options);
    ASSERT_EQ(other.size(), 4U);
    for (std::size_t t = 0; t < 4; ++t)
      EXPECT_LT(rms(first[t], other[t]), 0.2) << options[1] << " volume " << t;
  };
  expectSame({"--motion", folder.write("v.aff12.1D", motionforms::afniRows(motions))});
  expectSame({"--motion", fslFolder(motions)});
  expectSame({"--motion", folder.write("rp_v.txt", motionforms::spmRows(motions)), "--motion-from",
              "spm"});
  const glm::dvec3 centre = motionforms::fslPlace(centreOfGravity(volumesIn(series())[0]), grid);
  expectSame({"--motion", folder.write("v.par", motionforms::fslRows(motions, grid, centre))});
}

// What is left is the noise, and what interpolation loses.
TEST_F(ApplyMotion, IsCloserToTheTruthThanTwoInterpolations) {
  const Volume<float> still = nifti::Reader(truth()).readVolume(0);
  const glm::dmat4 affine = nifti::Reader(truth()).header().affine();
  const auto once = corrected({"--motion", folder.write("hmc.txt", motionforms::itkText(motions))});
  const auto distorted = corrected({});
  for (std::size_t t = 1; t < 4; ++t) {
    glm::dmat4 toVolume(motions[t].rotation());
    toVolume[3] = glm::dvec4(motions[t].translationMm, 1.0);
    const Volume<float> twice = resampleTo({still.dimensions(), toVolume * affine}, distorted[t],
                                           affine, "series", Interpolation::cubic);
    // Slices of this size cannot be interpolated well between, the less so the more they move.
    EXPECT_LT(rms(once[t], still), (t == 3 ? 0.7 : 1.05) * rms(twice, still)) << t;
    EXPECT_LT(rms(once[t], still), 0.4 * rms(distorted[t], still)) << t;
  }
}

TEST_F(ApplyMotion, DoubtsWhatTheImagesSpeakAgainst) {
  const ProgramResult inverse =
      apply({"--motion",
             folder.write("inverse.txt", motionforms::itkText(motionforms::inverses(motions)))});
  EXPECT_EQ(inverse.status, 0);
  EXPECT_THAT(inverse.err, HasSubstr("CHECK THE MOTION in " + file("inverse.txt")));
  EXPECT_THAT(inverse.err, HasSubstr("when moved the opposite way"));
  // Of another run: none of the volumes moved like that.
  const Motions others = {{}, {{-3, 0, 3}, {}}, {{4, 0, 0}, {0, 0, 4}}, {{0, 3, 3}, {4, 0, 0}}};
  const ProgramResult other =
      apply({"--motion", folder.write("other.txt", motionforms::itkText(others))});
  EXPECT_THAT(other.err, HasSubstr("when left where they are"));
  const ProgramResult right =
      apply({"--motion", folder.write("hmc.txt", motionforms::itkText(motions))});
  EXPECT_THAT(right.err, HasSubstr("and its volumes agree with one another so"));
  const nlohmann::json sidecar = nlohmann::json::parse(folder.read("r.json"));
  const nlohmann::json& told = sidecar.at("Mirel").at("Series").at("Motion");
  EXPECT_EQ(told.at("Check").at("Verdict"), "right");
  EXPECT_EQ(told.at("ReferenceVolume"), 0);
  EXPECT_NEAR(told.at("LargestDisplacementMm").get<double>(), 7.67, 0.001);
}

// The volumes among one another cannot tell.
TEST_F(ApplyMotion, DoubtsAReferenceThatIsFarFromAllVolumes) {
  folder.write("far.aff12.1D",
               "1 0 0 12 0 1 0 0 0 0 1 0\n1 0 0 13 0 1 0 0 0 0 1 0\n"
               "1 0 0 12 0 1 0 1 0 0 1 0\n1 0 0 12 0 1 0 0 0 0 1 1\n");
  EXPECT_THAT(apply({"--motion", file("far.aff12.1D")}).err,
              HasSubstr("displaces every volume of " + series() + " by 12 mm or more"));
}

TEST_F(ApplyMotion, NoMotionLeavesEveryBit) {
  ASSERT_EQ(apply({}).status, 0);
  const std::string without = folder.read("r.nii.gz");
  ASSERT_EQ(apply({"--motion", folder.write("still.txt", motionforms::itkText(Motions(4)))}).status,
            0);
  EXPECT_EQ(folder.read("r.nii.gz"), without);
}

TEST_F(ApplyMotion, MisuseIsAMatterOfOptions) {
  const std::string itk = folder.write("hmc.txt", motionforms::itkText(motions));
  EXPECT_EQ(apply({"--motion", itk, "--warp"}).status, 2);
  EXPECT_EQ(apply({"--motion-from", "itk"}).status, 2);
  EXPECT_EQ(apply({"--motion-reference", "0"}).status, 2);
  EXPECT_EQ(apply({"--motion", itk, "--motion-from", "other"}).status, 2);
  const ProgramResult two = apply({"--motion", itk, truth()});
  EXPECT_EQ(two.status, 1);
  EXPECT_THAT(two.err, HasSubstr("--motion is for one image, but 2 are given"));
  const ProgramResult neither = apply({"--motion", itk, "--motion-reference", "first"});
  EXPECT_EQ(neither.status, 1);
  EXPECT_THAT(neither.err, HasSubstr("neither the number of a volume nor a NIfTI image"));
  const ProgramResult form =
      apply({"--motion", folder.write("rp.txt", motionforms::spmRows(motions))});
  EXPECT_EQ(form.status, 1);
  EXPECT_THAT(form.err, HasSubstr("say whose they are with --motion-from (fsl, spm, afni, itk)"));
  EXPECT_FALSE(folder.exists("r.nii.gz"));
}

// The reference of the motion is no volume, and the field is known elsewhere.
TEST_F(ApplyMotion, AlignsTheReferenceOfTheMotion) {
  const glm::dvec3 away(3, -2, 2);
  Motions farther = motions;
  for (RigidMotion& motion : farther) motion.translationMm = motion.after(away);
  const std::string itk = folder.write("far.txt", motionforms::itkText(farther));
  const ProgramResult result = apply({"--motion", itk, "--reference", truth(), "--align"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("to its place in an image outside of the series by "));
  EXPECT_THAT(result.err, HasSubstr(": the sign is right"));
  const nlohmann::json found =
      nlohmann::json::parse(folder.read("r.json")).at("Mirel").at("Series").at("Alignment");
  EXPECT_EQ(found.at("Outcome"), "moved");
  const std::vector<double> mm = found.at("HeadMotion").at("TranslationMm");
  for (int axis = 0; axis < 3; ++axis)
    EXPECT_NEAR(mm[static_cast<std::size_t>(axis)], -away[axis], 0.3) << axis;
  const Volume<float> still = nifti::Reader(truth()).readVolume(0);
  const glm::dmat4 affine = nifti::Reader(truth()).header().affine();
  const glm::dmat4 there = glm::translate(affine, away / grid.mm);
  const Volume<float> moved =
      resampleTo({still.dimensions(), there}, still, affine, "truth", Interpolation::cubic);
  for (const Volume<float>& volume : volumesIn(file("r.nii.gz"))) EXPECT_LT(rms(volume, moved), 70);
}

}  // namespace mirel
