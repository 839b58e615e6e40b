#include "field/signcheck.h"

#include <gtest/gtest.h>

#include "field/corrector.h"
#include "field/seriesfiles.h"

namespace mirel {

using namespace seriesfiles;

namespace {

const Grid grid{{40, 44, 24}, affineOf({3, 3, 4}, 0, {-60, -66, -48})};
const Grid referenceGrid{{52, 56, 34}, affineOf({2.4, 2.4, 3}, 9, {-58, -64, -50})};

/// A head with structure inside; `contrast` turns the inner values round.
double head(glm::dvec3 mm, bool contrast) {
  const double r = glm::length(mm / glm::dvec3(48, 54, 40));
  if (r > 1) return 5;
  const double inner = 0.5 + 0.5 * std::sin(0.22 * mm.x) * std::sin(0.19 * mm.y + 0.1 * mm.z);
  return contrast ? 900 - 500 * inner : 300 + 600 * inner;
}

Volume<float> shiftOf() {
  return sampled(grid, [](glm::dvec3 mm) { return 2.5 * std::cos(0.05 * mm.y + 0.03 * mm.x); });
}

/// As if distorted: sampled at y - shift, so that forward correction with the shift about undoes
/// it.
Volume<float> distorted() {
  const Volume<float> truth = sampled(grid, [](glm::dvec3 mm) { return head(mm, false); });
  return correctVolume(truth, -shiftOf(), 1, Modulation::off);
}

PlacedImage reference(bool contrast) {
  return {sampled(referenceGrid, [=](glm::dvec3 mm) { return head(mm, contrast); }),
          referenceGrid.affine, "reference.nii"};
}

}  // namespace

TEST(SignCheck, FindsTheSignOnAnotherGridInEitherContrast) {
  const Volume<float> right = correctVolume(distorted(), shiftOf(), 1, Modulation::off);
  const Volume<float> wrong = correctVolume(distorted(), -shiftOf(), 1, Modulation::off);
  for (const bool contrast : {false, true}) {
    const SignCheck check = compareSigns(right, wrong, grid.affine, reference(contrast));
    EXPECT_EQ(check.verdict, SignCheck::Verdict::right);
    EXPECT_GT(check.asGiven, check.opposite + 0.02);
    EXPECT_GT(check.voxels, 10000);
    const SignCheck reversed = compareSigns(wrong, right, grid.affine, reference(contrast));
    EXPECT_EQ(reversed.verdict, SignCheck::Verdict::opposite);
    EXPECT_EQ(reversed.asGiven, check.opposite);
    EXPECT_EQ(reversed.correlationOpposite, check.correlationAsGiven);
  }
}

TEST(SignCheck, TheSameImageTwiceIsUndecided) {
  const SignCheck check = compareSigns(distorted(), distorted(), grid.affine, reference(false));
  EXPECT_EQ(check.verdict, SignCheck::Verdict::undecided);
  EXPECT_EQ(check.asGiven, check.opposite);
}

TEST(SignCheck, AnImageAgainstItselfHasTheLargestInformation) {
  const Volume<float> truth = sampled(grid, [](glm::dvec3 mm) { return head(mm, false); });
  const SignCheck check =
      compareSigns(truth, distorted(), grid.affine, {truth, grid.affine, "itself"});
  EXPECT_DOUBLE_EQ(check.asGiven, 2);
  EXPECT_NEAR(check.correlationAsGiven, 1, 1e-12);
}

TEST(SignCheck, WithoutCommonVoxelsThereIsNoVerdict) {
  PlacedImage elsewhere = reference(false);
  elsewhere.affine[3].z += 1000;
  const SignCheck check =
      compareSigns(distorted(), Volume<float>(grid.dims, 0.0f), grid.affine, elsewhere);
  EXPECT_EQ(check.voxels, 0);
  EXPECT_EQ(check.verdict, SignCheck::Verdict::undecided);
}

TEST(SignCheck, ConstantImagesAreUndecided) {
  const Volume<float> flat(grid.dims, 3.0f);
  EXPECT_EQ(compareSigns(flat, flat, grid.affine, {flat, grid.affine, "flat"}).verdict,
            SignCheck::Verdict::undecided);
  EXPECT_EQ(compareSigns(flat, flat, grid.affine, reference(false)).verdict,
            SignCheck::Verdict::undecided);
}

TEST(SignCheck, HoldsWithValuesNearTheEndsOfFloat) {
  const Volume<float> right = correctVolume(distorted(), shiftOf(), 1, Modulation::off);
  const Volume<float> wrong = correctVolume(distorted(), -shiftOf(), 1, Modulation::off);
  for (const float factor : {1e-42F, 1e-30F, 3e35F}) {
    PlacedImage scaled = reference(false);
    scaled.values *= factor;
    EXPECT_EQ(compareSigns(right * factor, wrong * factor, grid.affine, scaled).verdict,
              SignCheck::Verdict::right)
        << factor;
  }
}

TEST(SignCheck, VoxelsThatAreNotFiniteAreLeftOut) {
  Volume<float> right = correctVolume(distorted(), shiftOf(), 1, Modulation::off);
  const Volume<float> wrong = correctVolume(distorted(), -shiftOf(), 1, Modulation::off);
  const SignCheck check = compareSigns(right, wrong, grid.affine, reference(false));
  PlacedImage spoiled = reference(false);
  spoiled.values.at(26, 28, 17) = std::numeric_limits<float>::quiet_NaN();
  right.at(20, 22, 12) = std::numeric_limits<float>::infinity();
  right.at(20, 22, 13) = std::numeric_limits<float>::quiet_NaN();
  const SignCheck spoiledCheck = compareSigns(right, wrong, grid.affine, spoiled);
  EXPECT_EQ(spoiledCheck.verdict, SignCheck::Verdict::right);
  EXPECT_LT(spoiledCheck.voxels, check.voxels);
  EXPECT_NEAR(spoiledCheck.asGiven, check.asGiven, 0.01);
}

TEST(SignCheck, DifferentSizesAreRefused) {
  EXPECT_THROW(compareSigns(Volume<float>(2, 2, 2, 0.0f), Volume<float>(2, 2, 3, 0.0f), grid.affine,
                            reference(false)),
               std::logic_error);
}

}  // namespace mirel
