#include <gtest/gtest.h>

#include <cmath>

#include "field/fieldhz.h"
#include "field/grid.h"
#include "nifti/image.h"
#include "numerics/fft/fftw.h"
#include "pair/pairestimate.h"
#include "support/niftifiles.h"
#include "support/smallpair.h"

namespace mirel {

// The estimated field in Hz against one that was measured on its own (docs/accuracy.md).
TEST(RealData, TheFieldHasSignAndSizeOfTheMeasuredOne) {
  if (niftifiles::dataFolder().empty()) GTEST_SKIP() << "no real images (MIREL_TEST_DATA)";
  const std::string folder = niftifiles::dataFolder() + "/siemens_prisma_dwi_bold_fmap";
  bindEngine();
  ImageOptions ap, pa;
  ap.file = folder + "/dwi/sub-01_dir-AP_b0.nii.gz";
  pa.file = folder + "/dwi/sub-01_dir-PA_b0.nii.gz";
  for (const bool apFirst : {true, false}) {
    const PairInput pair = apFirst ? readPair(ap, pa) : readPair(pa, ap);
    const PairEstimate estimate = estimatePairMap(pair, {}, noProgress);
    EXPECT_TRUE(estimate.verdict.reasons.empty());
    const Grid grid = gridOf(pair.a.header);
    const Volume<float> found =
        fieldFromShift(estimate.shift, grid, pair.a.direction(), *pair.readoutSeconds, "").hz;
    const auto onGrid = [&](const std::string& file) {
      nifti::Reader reader(folder + file);
      return resampleTo(grid, reader.readVolume(0), reader.header().affine(), file,
                        Interpolation::linear);
    };
    const Volume<float> measured = onGrid("/derived/sub-01_fieldmap_Hz.nii.gz");
    const Volume<float> brain = onGrid("/derived/sub-01_approx_brainmask.nii.gz");
    double n = 0, sum = 0, opposite = 0;
    for (int i = 0; i < brain.size(); ++i) {
      if (!(brain.data()[i] > 0.5f)) continue;
      n += 1;
      sum += std::pow(static_cast<double>(found.data()[i] - measured.data()[i]), 2.0);
      opposite += std::pow(static_cast<double>(found.data()[i] + measured.data()[i]), 2.0);
    }
    const double voxels = std::sqrt(sum / n) * *pair.readoutSeconds;
    EXPECT_LT(voxels, 0.65) << apFirst;
    EXPECT_GT(std::sqrt(opposite / n) * *pair.readoutSeconds, 2 * voxels);
  }
}

}  // namespace mirel
