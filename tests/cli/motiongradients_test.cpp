#include <sstream>

#include "cli/movedhead.h"

namespace mirel {

using MotionGradients = MovedHead;

// By hand: a turn of the head by 8 degrees about z, from x towards y.
TEST_F(MotionGradients, AreWrittenAsTheHeadSawThem) {
  const std::string image = file("dwi.nii.gz");
  std::filesystem::copy(series(), image);
  std::filesystem::copy(head(std::string(seriesName) + ".json"), file("dwi.json"));
  folder.write("dwi.bvec", "1 0 0 1\n0 1 0 0\n0 0 1 0\n");
  folder.write("dwi.bval", "0 1000 0 1000\n");
  const std::string motion = folder.write("hmc.txt", motionforms::itkText(motions));
  const ProgramResult result =
      runMirel({"apply", "--field", head("sub-phantom_desc-truth_fieldmap.nii.gz"), image, "-o",
                file("out"), "--motion", motion, "--no-report"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(folder.read("out/dwi_desc-preproc.bval"), folder.read("dwi.bval"));
  std::istringstream rows(folder.read("out/dwi_desc-preproc.bvec"));
  double x[4], y[4], z[4];
  for (double* row : {x, y, z})
    for (int t = 0; t < 4; ++t) rows >> row[t];
  EXPECT_NEAR(x[0], 1, 1e-5);
  EXPECT_NEAR(y[0], 0, 1e-5);
  // The first axis of .bvec runs to the left here: the turn is the other way round.
  EXPECT_NEAR(x[3], std::cos(8 * std::acos(-1) / 180), 1e-5);
  EXPECT_NEAR(y[3], std::sin(8 * std::acos(-1) / 180), 1e-5);
  EXPECT_NEAR(z[3], 0, 1e-5);
}

}  // namespace mirel
