#include <gmock/gmock.h>

#include <fstream>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "support/smallpair.h"

// mirel correct with images of two readout times: each is displaced by its own.

namespace mirel {

namespace {

using testing::HasSubstr;

using CorrectReadouts = CorrectPair;

TEST_F(CorrectReadouts, OfAPairMayDiffer) {
  // The head of the other tests, its PA image with 0.6 of the readout time.
  const Phantom& head = smallPhantom();
  const PhantomOptions& options = head.options;
  const Volume<float> density = sampleHead({options.size, options.voxelMm}, options.seed).density;
  nifti::Writer writer(file("sub-phantom_dir-PA_epi.nii.gz"), nifti::Reader(pa()).header());
  writer.write(addRicianNoise(
      distort(density, head.shiftVoxels * -0.6F, PhaseEncodingAxis::y, HeadObject::cellsPerVoxel),
      head.noiseSigma, 2, 9));
  writer.finish();
  std::ofstream(file("sub-phantom_dir-PA_epi.json"))
      << R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.024})";
  const ProgramResult result = runMirel(
      {"correct", ap(), file("sub-phantom_dir-PA_epi.nii.gz"), "--no-report", "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("each is taken to be displaced by its own"));
  ASSERT_EQ(correct({"--no-report"}, "equal").status, 0);
  const Volume<float> truth = imageIn(input("sub-phantom_desc-truth_fieldmap.nii.gz"));
  const std::string field = "sub-phantom_desc-preproc_fieldmap.nii.gz";
  EXPECT_LT(rmsInBrain(imageIn(out(field)), truth),
            1.3 * rmsInBrain(imageIn(file("equal/" + field)), truth));
  // Both images show the head at one place.
  EXPECT_GT(correlationInBrain(imageIn(out("sub-phantom_dir-AP_desc-preproc_epi.nii.gz")),
                               imageIn(out("sub-phantom_dir-PA_desc-preproc_epi.nii.gz"))),
            0.9);
}

}  // namespace

}  // namespace mirel
