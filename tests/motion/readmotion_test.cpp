#include "motion/readmotion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <glm/gtc/matrix_transform.hpp>

#include "base/error.h"
#include "nifti/image.h"
#include "support/messageof.h"
#include "support/temporaryfolder.h"

namespace mirel {

namespace {

using testing::HasSubstr;

const char* const itkHead = "#Insight Transform File V1.0\n";

std::string itk(const std::string& rotation, const std::string& translation) {
  return "Transform: AffineTransform_double_3_3\nParameters: " + rotation + " " + translation +
         "\nFixedParameters: 0 0 0\n";
}
std::string still() { return itk("1 0 0 0 1 0 0 0 1", "0 0 0"); }

struct ReadMotion : testing::Test {
  TemporaryFolder folder;
  nifti::Header header;
  std::string series = folder.file("bold.nii");

  ReadMotion() {
    header.dims = {8, 8, 6};
    header.volumes = 2;
    glm::dmat4 affine = glm::scale(glm::dmat4(1.0), glm::dvec3(20));
    affine[3] = {-70, -70, -50, 1};
    header.setAffine(affine, 1);
    nifti::Writer writer(series, header);
    Volume<float> volume(header.dims, 0.0f);
    volume.at(2, 3, 4) = 10;
    for (int t = 0; t < 2; ++t) writer.write(volume);
    writer.finish();
  }
  SeriesMotion read(GivenMotion given) const { return readSeriesMotion(given, series, header); }
  std::string refusal(GivenMotion given) const {
    return messageOf<Error>([&] { read(given); });
  }
  std::string refusalOf(const std::string& name, const std::string& content) const {
    return refusal({.file = folder.write(name, content)});
  }
};

}  // namespace

TEST_F(ReadMotion, TellsTheFormByTheFile) {
  const std::string rows = "0 0 0 0 0 0\n0 0 0 2 -3 0\n";
  EXPECT_EQ(read({.file = folder.write("a.txt", itkHead + still() + still())}).form,
            MotionForm::itkText);
  EXPECT_EQ(read({.file = folder.write("a.1D",
                                       "# c\n1 0 0 0 0 1 0 0 0 0 1 0\n"
                                       "1 0 0 0 0 1 0 0 0 0 1 0 # x\n")})
                .form,
            MotionForm::afniMatrices);
  EXPECT_EQ(read({.file = folder.write("a.par", rows)}).form, MotionForm::fslParameters);
  EXPECT_THAT(refusalOf("b.txt", rows), HasSubstr("rows of six numbers, which programs mean"));
  EXPECT_EQ(read({.file = folder.write("rp.txt", "0 0 0 0 0 0\n2 -3 0 0.1 0 0\n"),
                  .program = MotionProgram::spm})
                .form,
            MotionForm::spmParameters);
  EXPECT_THAT(refusal({.file = folder.file("b.txt"), .program = MotionProgram::afni}),
              HasSubstr("do not tell their direction"));
  EXPECT_THAT(refusal({.file = folder.file("a.txt"), .program = MotionProgram::fsl}),
              HasSubstr("holds transforms in the form of ITK, not of FSL"));
  EXPECT_THAT(refusalOf("c.txt", "1 2 3\n"), HasSubstr("rows of 3 numbers"));
  EXPECT_THAT(refusal({.file = folder.file("none.txt")}), HasSubstr("cannot be opened"));
  EXPECT_THAT(refusalOf("d.txt", "\n"), HasSubstr("has no rows"));
}

TEST_F(ReadMotion, RefusesWhatIsNoMotionOfAHead) {
  const auto refused = [&](const std::string& rotation, const std::string& translation) {
    return refusalOf("t.txt", itkHead + still() + itk(rotation, translation));
  };
  EXPECT_THAT(refused("1.01 0 0 0 1 0 0 0 1", "0 0 0"),
              HasSubstr("t.txt has in transform 1 what scales or shears, by 1 %"));
  EXPECT_THAT(refused("1 0.01 0 0 1 0 0 0 1", "0 0 0"), HasSubstr("scales or shears"));
  EXPECT_THAT(refused("-1 0 0 0 1 0 0 0 1", "0 0 0"), HasSubstr("is a reflection"));
  EXPECT_THAT(refused("1 0 0 0 1 0 0 0 1", "0 0 41"), HasSubstr("displace the head by 41 mm"));
  EXPECT_THAT(refused("0 -1 0 1 0 0 0 0 1", "0 0 0"), HasSubstr("turn it by 90 degrees"));
  EXPECT_THAT(refused("nan 0 0 0 1 0 0 0 1", "0 0 0"),
              HasSubstr("holds \"nan\" in transform 1, where a finite number is expected"));
  EXPECT_THAT(refused("1 0 0 0 1 0 0 0 1", "0 0 1e999"), HasSubstr("holds \"1e999\""));
  EXPECT_THAT(refused("1 0 0 0 1 0 0 0", "0 0 0"), HasSubstr("has 11 parameters"));
  EXPECT_THAT(refusalOf("e.txt",
                        "Transform: Euler3DTransform_double_3_3\nParameters: 0 0 0 0 0 0\n"
                        "FixedParameters: 0 0 0 0\n"),
              HasSubstr("\"Euler3DTransform_double_3_3\""));
  // Nearly a whole turn, if it were.
  EXPECT_THAT(refusalOf("d.par", "0 0 0 0 0 0\n0 0 6.28 0 0 0\n"),
              HasSubstr("has in row 2 an angle of 6.28: are its angles in degrees, where radians"));
}

TEST_F(ReadMotion, RefusesWhatIsNoText) {
  EXPECT_THAT(refusalOf("bold.nii.gz", {'\x1f', '\x8b', '\b', '\0'}),
              HasSubstr("bold.nii.gz is no text file: line 1 holds the control byte 31"));
}

TEST_F(ReadMotion, NamesTheTransformsBesideATableOfRegressors) {
  const std::string table = "csf\ttrans_x\trot_z\n100.1\t0.5\tn/a\n100.2\t0.4\t0.01\n";
  const std::string stem = "sub-1_task-rest", name = stem + "_desc-confounds_timeseries.tsv";
  const std::string end = "_from-orig_to-boldref_mode-image_desc-hmc_xfm.txt";
  EXPECT_THAT(refusalOf(name, table),
              HasSubstr(name +
                        " is a table of regressors (\"csf\" in row 1), whose columns trans_x "
                        "to rot_z do not tell the point that the head turns about: give a "
                        "file of transforms instead, as fMRIPrep writes it beside its "
                        "confounds (..." +
                        end + ")"));
  const std::string beside = folder.write(stem + end, itkHead + still() + still());
  EXPECT_THAT(refusalOf(name, table), HasSubstr("turns about: give " + beside + " instead"));
  EXPECT_THAT(refusal({.file = folder.file(name), .program = MotionProgram::spm}),
              HasSubstr("give " + beside));
  EXPECT_THAT(refusalOf("a.txt", "x,y\n1,2\n"),
              HasSubstr("a.txt begins with words (\"x\" in row 1), as a table with named columns, "
                        "not with rigid transforms: give a file"));
  EXPECT_THAT(refusalOf("b.txt", "1 0 x\n"), HasSubstr("holds \"x\" in row 1"));
}

TEST_F(ReadMotion, CountsTransforms) {
  EXPECT_THAT(refusalOf("one.txt", itkHead + still()),
              HasSubstr("holds 1 transform, but " + series + " has 2 volumes"));
  std::filesystem::create_directory(folder.file("m"));
  EXPECT_THAT(refusal({.file = folder.file("m")}), HasSubstr("there is no MAT_0000 in it"));
  folder.write("m/MAT_0000", "1 0 0 0\n0 1 0 0\n0 0 1 0\n0 0 0 1\n");
  EXPECT_THAT(refusal({.file = folder.file("m")}), HasSubstr("holds 1 transform"));
  folder.write("m/MAT_0002", "1 0 0 0\n0 1 0 0\n0 0 1 0\n0 0 0 1\n");
  EXPECT_THAT(refusal({.file = folder.file("m")}), HasSubstr("has no MAT_0001, but MAT_0002"));
  folder.write("m/MAT_0001", "1 0 0 0\n0 1 0 0\n0 0 1 0\n0 0 1 1\n");
  std::filesystem::remove(folder.file("m/MAT_0002"));
  EXPECT_THAT(refusal({.file = folder.file("m")}), HasSubstr("its last row is not 0 0 0 1"));
}

TEST_F(ReadMotion, AsksForAReferenceThatIsNotTold) {
  std::filesystem::create_directory(folder.file("m"));
  for (const char* name : {"m/MAT_0000", "m/MAT_0001"})
    folder.write(name, "1 0 0 2\n0 1 0 0\n0 0 1 0\n0 0 0 1\n");
  const GivenMotion matrices{.file = folder.file("m")};
  EXPECT_THAT(refusal(matrices), HasSubstr("leads to the grid of an image that it does not name"));
  GivenMotion known = matrices;
  known.referenceImage = series;
  const SeriesMotion motion = read(known);
  EXPECT_FALSE(motion.referenceVolume);
  // FSL's x runs to the left, and from the volume to the reference.
  EXPECT_NEAR(motion.fromReference[0][3][0], 2, 1e-9);
  known = matrices;
  known.referenceVolume = 1;
  EXPECT_THAT(refusal(known), HasSubstr("displaces volume 1 by 2 mm: it is not the reference"));
  known.referenceVolume = 2;
  EXPECT_THAT(refusal(known), HasSubstr("has no volume 2"));
  EXPECT_THAT(refusalOf("moved.par", "0 0 0 1 0 0\n0 0 0 2 -3 0\n"), HasSubstr("does not name"));
}

// The one bright voxel lies in the centre that .par turns about: it stays where it is.
TEST_F(ReadMotion, TurnsAboutTheCentreOfGravity) {
  const SeriesMotion motion =
      read({.file = folder.write("a.par", "0 0 0 0 0 0\n0.1 -0.05 0.2 0 0 0\n")});
  EXPECT_EQ(motion.referenceVolume, 0);
  const glm::dvec4 centre = header.affine() * glm::dvec4(2, 3, 4, 1);
  EXPECT_LT(glm::length(motion.fromReference[1] * centre - centre), 1e-9);
}

}  // namespace mirel
