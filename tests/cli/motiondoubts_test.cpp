#include <glm/gtc/matrix_transform.hpp>

#include "cli/movedhead.h"

namespace mirel {

using MotionDoubts = MovedHead;

TEST_F(MotionDoubts, TellsWhatNoSliceShowed) {
  // Four slices of 4.5 mm, below the lowest one.
  const Motions moved = {{}, {}, {{0, 0, -18}, {}}, {}};
  const ProgramResult result =
      apply({"--motion", folder.write("down.txt", motionforms::itkText(moved))});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, HasSubstr("% of the head in volume 2 of " + series()));
  EXPECT_THAT(result.err, HasSubstr("lies outside of what was measured: 0 is written there"));
}

TEST_F(MotionDoubts, TellsWhatAFormLeavesOpen) {
  const glm::dvec3 centre = 0.5 * (grid.voxels - 1.0) * grid.mm;
  const ProgramResult rows =
      apply({"--motion", folder.write("v.par", motionforms::fslRows(motions, grid, centre))});
  EXPECT_EQ(rows.status, 0);
  EXPECT_THAT(rows.err, HasSubstr("are taken to be about the centre of gravity"));
}

// AFNI's transforms of such an image may be along its own axes.
TEST_F(MotionDoubts, TransformsOfObliqueImages) {
  const std::string motion = folder.write("v.aff12.1D", motionforms::afniRows(motions));
  const auto errors = [&](double degrees) {
    nifti::Reader reader(series());
    nifti::Header header = reader.header();
    header.setAffine(
        glm::rotate(glm::dmat4(1.0), degrees * std::acos(-1) / 180, glm::dvec3(1, 0, 0)) *
            header.affine(),
        1);
    nifti::Writer writer(file("turned.nii.gz"), header);
    for (const Volume<float>& volume : volumesIn(series())) writer.write(volume);
    writer.finish();
    const ProgramResult result =
        runMirel({"apply", "--field", head("sub-phantom_desc-truth_fieldmap.nii.gz"),
                  file("turned.nii.gz"), "-o", file("out"), "--motion", motion, "--pe", "j-",
                  "--readout", "0.04", "--no-report", "--overwrite"});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.err;
  };
  EXPECT_THAT(errors(5), HasSubstr("turned.nii.gz lies obliquely to the scanner"));
  EXPECT_THAT(errors(0), testing::Not(HasSubstr("obliquely")));
}

}  // namespace mirel
