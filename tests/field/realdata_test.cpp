#include <gtest/gtest.h>

#include <cmath>
#include <iostream>

#include "field/belowzero.h"
#include "field/series.h"
#include "field/seriesfiles.h"
#include "field/signcheck.h"

namespace mirel {

using namespace seriesfiles;

// The Siemens images have a field that was measured independently of them. Both b=0 images agree
// only when grids, signs, readout time and modulation are all as they should be.

namespace {

constexpr double dwiReadoutSeconds = 0.0475693;
constexpr double boldReadoutSeconds = 0.0340202;
constexpr bids::PhaseEncodingDirection pa{1, 1}, ap{1, -1};

struct RealSeries : testing::Test {
  std::string root = siemensFolder();
  std::string field = root + "/derived/sub-01_fieldmap_Hz.nii.gz";
  std::string mask = root + "/derived/sub-01_approx_brainmask.nii.gz";
  std::string b0Pa = root + "/dwi/sub-01_dir-PA_b0.nii.gz";
  std::string b0Ap = root + "/dwi/sub-01_dir-AP_b0.nii.gz";
  std::string bold = root + "/func/sub-01_task-fa_dir-AP_bold.nii.gz";

  void SetUp() override {
    if (root.empty()) GTEST_SKIP() << "no real images (set MIREL_TEST_DATA to try them)";
  }

  Volume<float> corrected(const std::string& image, bids::PhaseEncodingDirection direction,
                          double readoutSeconds, Modulation modulation) const {
    nifti::Reader reader(image);
    const Volume<float> shift =
        shiftVoxels(readField(field), reader.header(), direction, readoutSeconds);
    return correctVolume(meanOfSeries(image), shift, direction.axis, modulation);
  }

  /// Over voxels wholly in the brain: the field was measured there, and is 0 beyond its edge.
  double correlationInHead(const Volume<float>& a, const Volume<float>& b,
                           const std::string& gridOfBoth) const {
    nifti::Reader head(mask);
    const Volume<float> inside =
        resampleTo(gridOf(nifti::Reader(gridOfBoth).header()), head.readVolume(0),
                   head.header().affine(), mask, Interpolation::linear);
    double n = 0, sa = 0, sb = 0, saa = 0, sbb = 0, sab = 0;
    for (int v = 0; v < a.size(); ++v) {
      if (inside.data()[v] < 0.9f) continue;
      const double p = a.data()[v], q = b.data()[v];
      n += 1, sa += p, sb += q, saa += p * p, sbb += q * q, sab += p * q;
    }
    return (sab - sa * sb / n) / std::sqrt((saa - sa * sa / n) * (sbb - sb * sb / n));
  }
};

}  // namespace

TEST_F(RealSeries, TheMeasuredFieldBringsBothB0ImagesTogether) {
  const auto pair = [&](bids::PhaseEncodingDirection forPa, bids::PhaseEncodingDirection forAp) {
    return correlationInHead(corrected(b0Pa, forPa, dwiReadoutSeconds, Modulation::on),
                             corrected(b0Ap, forAp, dwiReadoutSeconds, Modulation::on), b0Pa);
  };
  const double before =
      correlationInHead(nifti::Reader(b0Pa).readVolume(0), nifti::Reader(b0Ap).readVolume(0), b0Pa);
  const double after = pair(pa, ap);
  const double opposite = pair(ap, pa);
  std::cout << "correlation: before " << before << ", corrected " << after << ", opposite sign "
            << opposite << "\n";
  EXPECT_NEAR(before, 0.731, 0.005);
  EXPECT_GT(after, 0.90);
  EXPECT_LT(opposite, before - 0.2);
}

TEST_F(RealSeries, ModulationAddsToTheAgreement) {
  const double off =
      correlationInHead(corrected(b0Pa, pa, dwiReadoutSeconds, Modulation::off),
                        corrected(b0Ap, ap, dwiReadoutSeconds, Modulation::off), b0Pa);
  const double on = correlationInHead(corrected(b0Pa, pa, dwiReadoutSeconds, Modulation::on),
                                      corrected(b0Ap, ap, dwiReadoutSeconds, Modulation::on), b0Pa);
  std::cout << "correlation without modulation " << off << ", with " << on << "\n";
  EXPECT_GT(on, off + 0.02);
}

TEST_F(RealSeries, TheSignCheckIsRightAboutTheBoldRunOnItsOtherGrid) {
  PlacedImage reference{corrected(b0Pa, pa, dwiReadoutSeconds, Modulation::on),
                        nifti::Reader(b0Pa).header().affine(), b0Pa};
  reference.values += corrected(b0Ap, ap, dwiReadoutSeconds, Modulation::on);
  const Volume<float> right = corrected(bold, ap, boldReadoutSeconds, Modulation::off);
  const Volume<float> wrong = corrected(bold, pa, boldReadoutSeconds, Modulation::off);
  const glm::dmat4 affine = nifti::Reader(bold).header().affine();
  const SignCheck check = compareSigns(right, wrong, affine, reference);
  std::cout << "BOLD: NMI " << check.asGiven << " against " << check.opposite << ", correlation "
            << check.correlationAsGiven << " against " << check.correlationOpposite << ", "
            << check.voxels << " voxels\n";
  EXPECT_EQ(check.verdict, SignCheck::Verdict::right);
  EXPECT_EQ(compareSigns(wrong, right, affine, reference).verdict, SignCheck::Verdict::opposite);
  EXPECT_EQ(compareSigns(right, right, affine, reference).verdict, SignCheck::Verdict::undecided);
}

TEST_F(RealSeries, TheSignCheckIsRightAboutBothDiffusionSeries) {
  PlacedImage reference{corrected(b0Pa, pa, dwiReadoutSeconds, Modulation::on),
                        nifti::Reader(b0Pa).header().affine(), b0Pa};
  reference.values += corrected(b0Ap, ap, dwiReadoutSeconds, Modulation::on);
  for (const auto& [name, direction] : {std::pair(std::string("PA"), pa), {"AP", ap}}) {
    const std::string run = root + "/dwi/sub-01_dir-" + name + "_dwi.nii.gz";
    const SignCheck check =
        compareSigns(corrected(run, direction, dwiReadoutSeconds, Modulation::off),
                     corrected(run, direction.opposite(), dwiReadoutSeconds, Modulation::off),
                     reference.affine, reference);
    std::cout << "DWI " << name << ": NMI " << check.asGiven << " against " << check.opposite
              << ", correlation " << check.correlationAsGiven << " against "
              << check.correlationOpposite << "\n";
    EXPECT_EQ(check.verdict, SignCheck::Verdict::right) << name;
  }
}

TEST_F(RealSeries, AWholeRunKeepsItsHeader) {
  TemporaryFolder folder;
  nifti::Reader before(bold);
  const Volume<float> shift =
      shiftVoxels(readField(field), before.header(), ap, boldReadoutSeconds);
  const SeriesReport report = correctSeries(bold, shift, {}, folder.file("bold.nii.gz"));
  EXPECT_TRUE(report.warnings.empty());
  nifti::Reader after(folder.file("bold.nii.gz"));
  EXPECT_EQ(after.header().affine(), before.header().affine());
  EXPECT_EQ(after.header().type, before.header().type);
  EXPECT_EQ(after.header().volumes, 20);
  EXPECT_EQ(after.header().repetitionTimeSeconds, before.header().repetitionTimeSeconds);
  Volume<float> direct = correctVolume(before.readVolume(19), shift, 1, Modulation::off);
  EXPECT_LT(direct.min(), -40.0f) << "beside a bright spot";
  raiseToZero(direct);
  EXPECT_LE(largestDifference(after.readVolume(19), direct), 0.5) << "rounded to whole numbers";
}

}  // namespace mirel
