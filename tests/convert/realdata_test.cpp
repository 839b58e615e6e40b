#include <gtest/gtest.h>

#include <filesystem>

#include "convert/convert.h"
#include "nifti/filename.h"
#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
namespace fs = std::filesystem;

namespace {

/// Converts to a project and back, and compares everything that an image says.
void expectRoundTrip(const std::string& in, const std::string& extension) {
  SCOPED_TRACE(in + " as " + extension);
  TemporaryFolder folder;
  convert::convert(in, folder.file("run" + extension));
  convert::convert(folder.file("run" + extension), folder.file("back.nii.gz"));
  nifti::Reader before(in);
  nifti::Reader after(folder.file("back.nii.gz"));
  const nifti::Header& h = before.header();
  const nifti::Header& k = after.header();
  ASSERT_EQ(h.dims, k.dims);
  ASSERT_EQ(h.volumes, k.volumes);
  EXPECT_EQ(h.affine(), k.affine());
  EXPECT_EQ(h.qformMatrix(), k.qformMatrix());
  EXPECT_EQ(h.qformCode, k.qformCode);
  EXPECT_EQ(h.sformCode, k.sformCode);
  EXPECT_EQ(h.repetitionTimeSeconds, k.repetitionTimeSeconds);
  EXPECT_EQ(h.type, k.type);
  for (int t = 0; t < h.volumes; t++)
    ASSERT_TRUE(before.readVolume(t) == after.readVolume(t)) << "volume " << t;
  if (extension == ".dmr" && fs::exists(nifti::niftiStem(in) + ".bvec")) {
    EXPECT_TRUE(fs::exists(folder.file("back.bvec")));
    EXPECT_TRUE(fs::exists(folder.file("back.bval")));
  }
}

}  // namespace

TEST(RealData, EveryImageMakesTheRoundTrip) {
  const std::string data = dataFolder();
  if (data.empty()) GTEST_SKIP() << "no folder of real images (set MIREL_TEST_DATA to try them)";
  int images = 0;
  for (const auto& entry : fs::recursive_directory_iterator(data)) {
    if (!nifti::hasNiftiName(entry.path().string())) continue;
    expectRoundTrip(entry.path().string(), ".fmr");
    expectRoundTrip(entry.path().string(), ".dmr");
    images++;
  }
  EXPECT_GT(images, 0) << "no image in " << data;
}

TEST(RealData, WithoutTheSidecarTheSiemensAxesAgreeToHeaderDigits) {
  const std::string in =
      dataFolder() + "/siemens_prisma_dwi_bold_fmap/func/sub-01_task-fa_dir-AP_bold.nii.gz";
  if (dataFolder().empty() || !fs::exists(in)) GTEST_SKIP() << "no " << in;
  TemporaryFolder folder;
  convert::convert(in, folder.file("run.fmr"));
  fs::remove(folder.file("run_geometry.json"));
  convert::convert(folder.file("run.fmr"), folder.file("back.nii"));
  const glm::dmat4 before = nifti::Reader(in).header().affine();
  const glm::dmat4 after = nifti::Reader(folder.file("back.nii")).header().affine();
  for (int c = 0; c < 4; c++)
    for (int r = 0; r < 3; r++) EXPECT_NEAR(before[c][r], after[c][r], 5e-4) << c << " " << r;
}

}  // namespace mirel
