#include "picture/cut.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/error.h"
#include "picture/grids.h"
#include "support/messageof.h"

namespace {

using namespace mirel;
using namespace mirel::picture;
using namespace grids;

// Voxels of 2 x 3 x 4 mm in the patient's axes; voxel (x, y, z) of 2 x 3 x 4 is x + 10 y + 100 z.
const glm::dmat4 plainAffine = affineOf({2, 0, 0}, {0, 3, 0}, {0, 0, 4}, {-10, 20, -30});
const glm::ivec3 plainDims(2, 3, 4);

Volume<float> numbered() {
  Volume<float> volume(plainDims);
  for (int z = 0; z < 4; ++z)
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 2; ++x) volume.at(x, y, z) = static_cast<float>(x + 10 * y + 100 * z);
  return volume;
}

CutPlane planeOf(const Grid& grid, SlicePlane plane, int index, int pixels = 1) {
  return cutPlane(grid, {plane, index}, pixels, "ref.nii");
}

glm::dvec3 mmOf(const CutPlane& plane, double x, double y) {
  return glm::dvec3(plane.grid.affine * glm::dvec4(x, y, 0, 1));
}

TEST(CutPlane, LiesInTheSliceWithRightAndUpAsTheyShouldBe) {
  const CutPlane axial = planeOf({plainDims, plainAffine}, SlicePlane::axial, 1);
  EXPECT_EQ(axial.grid.dims, glm::ivec3(2, 5, 1));  // 3 voxels of 1.5 times the width
  EXPECT_NEAR(axial.mm, -26, 1e-12);
  EXPECT_NEAR(glm::distance(mmOf(axial, -0.5, -0.5), glm::dvec3(-11, 27.5, -26)), 0, 1e-9);
  EXPECT_NEAR(glm::distance(mmOf(axial, 1.5, 4.5), glm::dvec3(-7, 18.5, -26)), 0, 1e-9);
  const CutPlane coronal = planeOf({plainDims, plainAffine}, SlicePlane::coronal, 2, 3);
  EXPECT_EQ(coronal.grid.dims, glm::ivec3(6, 24, 1));
  EXPECT_NEAR(glm::distance(mmOf(coronal, -0.5, -0.5), glm::dvec3(-11, 26, -16)), 0, 1e-9);
  const CutPlane sagittal = planeOf({plainDims, plainAffine}, SlicePlane::sagittal, 0);
  EXPECT_EQ(sagittal.grid.dims, glm::ivec3(3, 5, 1));
  EXPECT_NEAR(glm::distance(mmOf(sagittal, -0.5, -0.5), glm::dvec3(-10, 18.5, -16)), 0, 1e-9);
}

TEST(CutPlane, NamesTheSidesOfThePatient) {
  const Grid grid{plainDims, plainAffine};
  const Letters axial = planeOf(grid, SlicePlane::axial, 0).letters;
  EXPECT_EQ(axial.left + axial.right + axial.top + axial.bottom, "LRAP");
  const Letters coronal = planeOf(grid, SlicePlane::coronal, 0).letters;
  EXPECT_EQ(coronal.left + coronal.right + coronal.top + coronal.bottom, "LRSI");
  const Letters sagittal = planeOf(grid, SlicePlane::sagittal, 0).letters;
  EXPECT_EQ(sagittal.left + sagittal.right + sagittal.top + sagittal.bottom, "PASI");
}

TEST(CutPlane, FindsTheSliceOfAPlaceInMm) {
  const Grid grid{plainDims, plainAffine};
  EXPECT_EQ(cutPlane(grid, {SlicePlane::axial}, 1, "").index, 2);  // the middle
  const CutPlane between = cutPlane(grid, {SlicePlane::axial, {}, -23.0}, 1, "");
  EXPECT_NEAR(between.index, 1.75, 1e-12);
  EXPECT_NEAR(mmOf(between, 0, 0).z, -23, 1e-9);
  // Counted towards right, anterior, superior also where the array runs the other way.
  const Grid flipped{plainDims, affineOf({-2, 0, 0}, {0, -3, 0}, {0, 0, -4}, {-8, 26, -18})};
  EXPECT_NEAR(planeOf(flipped, SlicePlane::axial, 1).mm, -26, 1e-12);
  EXPECT_NEAR(planeOf(flipped, SlicePlane::coronal, 2).mm, 26, 1e-12);
  EXPECT_NEAR(planeOf(flipped, SlicePlane::sagittal, 0).mm, -10, 1e-12);
}

TEST(CutPlane, RefusesSlicesThatAreNotThere) {
  const Grid grid{plainDims, plainAffine};
  const auto fault = [&](SliceAt where) {
    return messageOf<Error>([&] { cutPlane(grid, where, 1, "ref.nii"); });
  };
  EXPECT_EQ(fault({SlicePlane::axial, 4}), "ref.nii has no axial slice 4: its slices are 0 to 3");
  EXPECT_EQ(fault({SlicePlane::sagittal, -1}),
            "ref.nii has no sagittal slice -1: its slices are 0 to 1");
  EXPECT_EQ(fault({SlicePlane::axial, {}, 100.0}),
            "ref.nii has nothing at z = 100.0 mm: it reaches from -32.0 to -16.0 mm");
  EXPECT_EQ(fault({SlicePlane::coronal, {}, 18.4}),
            "ref.nii has nothing at y = 18.4 mm: it reaches from 18.5 to 27.5 mm");
  EXPECT_EQ(cutPlane(grid, {SlicePlane::coronal, {}, 18.6}, 1, "").index, 0);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THROW(planeOf({plainDims, glm::dmat4(0.0)}, SlicePlane::axial, 0), Error);
  EXPECT_THROW(planeOf({plainDims, glm::dmat4(nan)}, SlicePlane::axial, 0), Error);
}

TEST(CutThrough, ShowsEachVoxelOfTheSliceInItsPlace) {
  const Volume<float> volume = numbered();
  const Grid grid{plainDims, plainAffine};
  for (const int pixels : {2, 4}) {
    const CutPlane plane = planeOf(grid, SlicePlane::axial, 1, pixels);
    const Cut cut = cutThrough(volume, plainAffine, plane, Sampling::nearest, "");
    for (int y = 0; y < cut.height; ++y)
      for (int x = 0; x < cut.width; ++x) {
        const int j = 2 - static_cast<int>((y + 0.5) * 3 / cut.height);
        EXPECT_EQ(cut.values[cut.index(x, y)], 100 + 10 * j + x / pixels) << x << " " << y;
        EXPECT_TRUE(cut.covered[cut.index(x, y)]);
      }
  }
  const Cut coronal =
      cutThrough(volume, plainAffine, planeOf(grid, SlicePlane::coronal, 0), Sampling::nearest, "");
  EXPECT_EQ(coronal.values[coronal.index(1, 0)], 301);
  const Cut sagittal = cutThrough(volume, plainAffine, planeOf(grid, SlicePlane::sagittal, 1),
                                  Sampling::nearest, "");
  EXPECT_EQ(sagittal.values[sagittal.index(2, sagittal.height - 1)], 21);
}

double somewhere(glm::dvec3 mm) { return 3 * mm.x - 2 * mm.y + 0.5 * mm.z + 40; }

// A linear function of the place, on grids that have nothing in common but the place.
TEST(CutThrough, ShowsTheSamePlaceOfThePatientOnEveryGrid) {
  const Layer reference =
      sampled({12, 14, 10}, affineOf({3, 0, 0}, {0, 3, 0}, {0, 0, 4}, {}), somewhere);
  const glm::dvec3 centre(16, 19, 18);
  // Reordered and flipped axes, other voxel sizes, and an oblique grid; all reach beyond.
  const glm::dmat4 reordered = affineOf({0, 0, -2}, {-1.5, 0, 0}, {0, 2.5, 0}, {60, -20, 60});
  const glm::dmat4 oblique =
      rotated(25, centre) * affineOf({2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {-30, -30, -30});
  const Layer others[] = {sampled({45, 60, 40}, reordered, somewhere),
                          sampled({50, 50, 50}, oblique, somewhere)};
  for (const SlicePlane which : {SlicePlane::axial, SlicePlane::coronal, SlicePlane::sagittal}) {
    const CutPlane plane = cutPlane(reference.grid(), {which, 5}, 3, "ref");
    for (const Layer& other : others) {
      const Cut cut = cutThrough(other.volume, other.affine, plane, Sampling::linear, "other");
      for (int y = 0; y < cut.height; ++y)
        for (int x = 0; x < cut.width; ++x) {
          const double expected = somewhere(mmOf(plane, x, y));
          ASSERT_TRUE(cut.covered[cut.index(x, y)]);
          ASSERT_NEAR(cut.values[cut.index(x, y)], expected, 1e-3) << x << " " << y;
        }
      // The nearest voxel is at most half a voxel's diagonal away.
      const Cut voxels = cutThrough(other.volume, other.affine, plane, Sampling::nearest, "other");
      for (std::size_t i = 0; i < voxels.values.size(); ++i)
        ASSERT_LE(std::abs(voxels.values[i] - cut.values[i]), 3.7 * 1.8);
    }
  }
}

TEST(CutThrough, TellsWhatIsOffTheGrid) {
  const Layer image = sampled({4, 4, 4}, affineOf({2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {0, 0, 0}),
                              [](glm::dvec3) { return 7; });
  const Grid wide{{10, 10, 3}, affineOf({2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {-6, -4, 0})};
  for (const Sampling sampling : {Sampling::nearest, Sampling::linear}) {
    const Cut cut =
        cutThrough(image.volume, image.affine, planeOf(wide, SlicePlane::axial, 0), sampling, "");
    for (int y = 0; y < 10; ++y)
      for (int x = 0; x < 10; ++x) {
        const int j = 9 - y;
        const bool on = x >= 3 && x < 7 && j >= 2 && j < 6;
        EXPECT_EQ(cut.covered[cut.index(x, y)] != 0, on) << x << " " << y;
        EXPECT_EQ(cut.values[cut.index(x, y)], on ? 7 : 0);
      }
    EXPECT_TRUE(cut.meetsImage());
  }
  const Grid far{{10, 10, 3}, affineOf({2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {1e12, 0, 0})};
  EXPECT_FALSE(cutThrough(image.volume, image.affine, planeOf(far, SlicePlane::axial, 0),
                          Sampling::nearest, "")
                   .meetsImage());
}

// The plane runs exactly between two slices of the other image, up to rounding.
TEST(CutThrough, DoesNotFlickerOnTheBorderOfTwoSlices) {
  const glm::dmat4 turn = rotated(17, {0, 0, 0});
  const Grid reference{{20, 20, 3},
                       turn * affineOf({1.1, 0, 0}, {0, 1.1, 0}, {0, 0, 1.1}, {3.3, 7.7, 0.55})};
  Layer other = sampled({30, 40, 6}, turn * affineOf({1.1, 0, 0}, {0, 1.1, 0}, {0, 0, 1.1}, {}),
                        [](glm::dvec3) { return 0; });
  for (int i = 0; i < other.volume.size(); ++i)
    other.volume.data()[i] = static_cast<float>(i / (30 * 40));  // the slice's number
  const Cut cut = cutThrough(other.volume, other.affine, planeOf(reference, SlicePlane::axial, 1),
                             Sampling::nearest, "");
  for (const float value : cut.values) ASSERT_EQ(value, cut.values[0]);
  EXPECT_TRUE(cut.values[0] == 1 || cut.values[0] == 2);
}

// 60 pixels for 16 voxels: some centres of pixels lie on the border of two voxels.
TEST(CutThrough, ShowsTheSameVoxelOnABorderInWhateverOrderTheyAreStored) {
  const Layer plain = sampled({10, 12, 16}, affineOf({2, 0, 0}, {0, 2, 0}, {0, 0, 2.5}, {}),
                              [](glm::dvec3 mm) { return mm.x + 100 * mm.y + 10000 * mm.z; });
  const Layer reversed =
      sampled({16, 10, 12}, affineOf({0, 0, -2.5}, {-2, 0, 0}, {0, -2, 0}, {18, 22, 37.5}),
              [](glm::dvec3 mm) { return mm.x + 100 * mm.y + 10000 * mm.z; });
  for (const SliceAt where :
       {SliceAt{SlicePlane::coronal, 5}, SliceAt{SlicePlane::coronal, {}, 9.0},
        SliceAt{SlicePlane::sagittal, {}, 7.0}, SliceAt{SlicePlane::axial, 3}}) {
    const CutPlane plane = cutPlane(plain.grid(), where, 3, "");
    const Cut a = cutThrough(plain.volume, plain.affine, plane, Sampling::nearest, "");
    const Cut b = cutThrough(reversed.volume, reversed.affine, plane, Sampling::nearest, "");
    EXPECT_EQ(a.values, b.values);
    EXPECT_EQ(a.covered, b.covered);
    const CutPlane other = cutPlane(reversed.grid(), where, 3, "");
    EXPECT_EQ(other.grid.dims, plane.grid.dims);
    EXPECT_EQ(cutThrough(plain.volume, plain.affine, other, Sampling::nearest, "").values,
              a.values);
  }
}

}  // namespace
