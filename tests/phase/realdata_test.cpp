#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <vector>

#include "field/seriesfiles.h"
#include "phase/echotimes.h"
#include "phase/measuredfield.h"
#include "phase/neighbours.h"

namespace mirel {

namespace {

Volume<float> imageIn(const std::string& file) { return nifti::Reader(file).readVolume(0); }

Volume<float> eroded(const Volume<float>& mask) {
  Volume<float> narrower = mask;
  for (int n = 0; n < mask.size(); ++n)
    if (mask.data()[n] == 0.0F)
      forEachNeighbour(n, mask.dimensions(), [&](int m) { narrower.data()[m] = 0; });
  return narrower;
}

std::vector<double> differences(const Volume<float>& a, const Volume<float>& b,
                                const Volume<float>& mask) {
  std::vector<double> sizes;
  for (int n = 0; n < a.size(); ++n)
    if (mask.data()[n] > 0.0F)
      sizes.push_back(std::abs(static_cast<double>(a.data()[n] - b.data()[n])));
  std::sort(sizes.begin(), sizes.end());
  return sizes;
}

class RealPhase : public testing::Test {
 protected:
  void SetUp() override {
    if (root.empty()) GTEST_SKIP() << "no real images (set MIREL_TEST_DATA to try them)";
  }

  const std::string root = seriesfiles::siemensFolder();
  const std::string fmap = root + "/fmap/sub-01_";
  const std::string derived = root + "/derived/sub-01_";
};

TEST_F(RealPhase, TheFieldBesideItComesOut) {
  const PhaseFile phase = readPhaseFile(fmap + "phasediff.nii.gz");
  const EchoTimes times = echoTimesOfDifference(phase);
  const Volume<float> published = imageIn(derived + "fieldmap_Hz.nii.gz");
  const Volume<float> brain = eroded(imageIn(derived + "approx_brainmask.nii.gz"));
  for (const bool withMagnitude : {true, false}) {
    const MeasuredField field =
        fieldOfEchoes({{phase.radians, times.difference()}},
                      withMagnitude ? imageIn(fmap + "magnitude1.nii.gz") : Volume<float>(),
                      phase.header.voxelSizeMm, phase.file);
    const std::vector<double> sizes = differences(field.hz, published, brain);
    const double median = sizes[sizes.size() / 2], most = sizes[sizes.size() * 95 / 100];
    std::cout << (withMagnitude ? "with" : "without") << " magnitude: median " << median
              << " Hz, 95 % within " << most << " Hz, at most " << sizes.back() << "; noise "
              << field.noiseHz << " Hz, " << field.outliers << " outliers of " << field.voxels
              << ", " << field.regions << " regions, median field " << field.medianHz << "\n";
    EXPECT_LT(median, 0.5);
    EXPECT_LT(most, 3);
  }
}

}  // namespace

}  // namespace mirel
