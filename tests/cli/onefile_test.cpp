#include <gmock/gmock.h>

#include <filesystem>

#include "cli/correctpair.h"
#include "nifti/image.h"

// mirel correct X X: both directions in one file, several volumes of each.

namespace mirel {

namespace {

using testing::IsSupersetOf;

class CorrectOneFile : public CorrectPair {
 protected:
  // Volumes 0 and 1 of the first direction, 2 and 3 of the second.
  std::string both() const {
    nifti::Reader first(ap());
    nifti::Header header = first.header();
    header.volumes = 4;
    nifti::Writer writer(file("both.nii.gz"), header);
    for (const std::string& image : {ap(), ap(), pa(), pa()}) writer.write(imageIn(image));
    writer.finish();
    return file("both.nii.gz");
  }
  void expectBoth(std::vector<std::string> options) const {
    const std::string image = both();
    options.insert(options.begin(), {"correct", image, image, "-o", out(), "--pe-a", "j-", "--pe-b",
                                     "j", "--readout", "0.04", "--no-report"});
    const ProgramResult result = runMirel(options);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(namesInOut(),
                IsSupersetOf(
                    {"both_desc-preprocMeanOf2From0.nii.gz", "both_desc-preprocMeanOf2From2.nii.gz",
                     "both_from-orig_to-undistorted_mode-image_desc-meanOf2From0_xfm.nii.gz",
                     "both_from-orig_to-undistorted_mode-image_desc-meanOf2From2_xfm.nii.gz"}));
    EXPECT_GT(correlationInBrain(imageIn(out("both_desc-preprocMeanOf2From0.nii.gz")),
                                 imageIn(out("both_desc-preprocMeanOf2From2.nii.gz"))),
              0.97);
  }
};

TEST_F(CorrectOneFile, JoinsVolumesOfEitherDirection) {
  expectBoth({"--volumes", "0-1", "--volumes-b", "2-3"});
}

TEST_F(CorrectOneFile, TakesMeansOfEitherDirection) {
  expectBoth({"--mean", "2", "--volume-b", "2"});
}

}  // namespace

}  // namespace mirel
