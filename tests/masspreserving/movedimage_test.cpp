#include "masspreserving/movedimage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <glm/common.hpp>
#include <glm/matrix.hpp>
#include <limits>

#include "masspreserving/massmodel.h"
#include "masspreserving/testdata.h"

namespace mirel {

namespace {

const glm::dvec3 voxelMm(2.0, 3.0, 2.5);

// A smooth blob with structure, in mm about the middle; 0 well within the borders of `bodySize`.
const glm::ivec3 bodySize(36, 34, 32);

double body(glm::dvec3 mm) {
  const glm::dvec3 p = mm / glm::dvec3(9.0, 11.0, 10.0);
  return 100.0 * std::exp(-0.5 * glm::dot(p, p)) *
         (1.0 + 0.2 * std::sin(0.15 * mm.x + 0.1 * mm.y - 0.12 * mm.z));
}

// A smooth displacement in voxels along y, by the place in mm; its differences are below 0.5.
double shiftAt(glm::dvec3 mm) {
  return 1.2 * std::sin(0.06 * mm.y + 0.04 * mm.x + 0.3) + 0.5 * std::cos(0.05 * mm.z);
}

template <typename Function>
Volume<float> sampled(glm::ivec3 size, const GridPlace& place, const Function& function) {
  Volume<float> volume(size);
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x)
        volume.at(x, y, z) = static_cast<float>(function(place.positionMm({x, y, z})));
  return volume;
}

Volume<float> shiftAtEdges(glm::ivec3 size, const GridPlace& place) {
  Volume<float> b(size.x, size.y + 1, size.z);
  for (int z = 0; z < b.nz(); ++z)
    for (int j = 0; j < b.ny(); ++j)
      for (int x = 0; x < b.nx(); ++x)
        b.at(x, j, z) = static_cast<float>(shiftAt(place.positionMm({x, j - 0.5, z})));
  return b;
}

double largestDifference(const Volume<float>& a, const Volume<float>& b) {
  double largest = 0.0;
  for (int i = 0; i < a.size(); ++i)
    largest = std::max(largest, std::abs(static_cast<double>(a.data()[i]) - b.data()[i]));
  return largest;
}

Volume<float> noEdgeShift(glm::ivec3 size) { return {size.x, size.y + 1, size.z, 0.0F}; }

bool isAllOnes(const Volume<unsigned char>& mask) { return mask.min() == 1; }

TEST(PlaceOf, CountsFromTheMiddleOfTheOriginalGrid) {
  const GridPlace own = placeOf({5, 4, 1}, {2.0, 3.0, 7.0}, glm::ivec3(1));
  EXPECT_EQ(own.positionMm({2.0, 1.5, 0.0}), glm::dvec3(0.0));
  EXPECT_EQ(own.firstMm, glm::dvec3(-4.0, -4.5, 0.0));
  // The first block of 2 x 2 voxels has its centre between them.
  const GridPlace coarse = placeOf({5, 4, 1}, {2.0, 3.0, 7.0}, {2, 2, 1});
  EXPECT_EQ(coarse.voxelMm, glm::dvec3(4.0, 6.0, 7.0));
  EXPECT_EQ(coarse.firstMm, own.positionMm({0.5, 0.5, 0.0}));
}

TEST(MovedImage, WithoutMotionIsTheImageWhateverTheDisplacement) {
  const glm::ivec3 size(9, 11, 7);
  const GridPlace place = placeOf(size, voxelMm, glm::ivec3(1));
  const Volume<float> image = testdata::noise<float>(size, 100.0, 1);
  for (const Volume<float>& b : {noEdgeShift(size), shiftAtEdges(size, place)})
    for (const double sign : {1.0, -1.0}) {
      const MovedImage::Unmoved same = MovedImage(image, place).unmoved({}, b, sign);
      EXPECT_LT(largestDifference(same.image, image), 1e-3);
      EXPECT_TRUE(isAllOnes(same.covered));
    }
}

TEST(MovedImage, WholeVoxelsOfTranslationMoveTheValues) {
  const glm::ivec3 size(9, 11, 7), by(2, -1, 3);
  const GridPlace place = placeOf(size, voxelMm, glm::ivec3(1));
  const Volume<float> image = testdata::noise<float>(size, 100.0, 1);
  const RigidMotion motion{glm::dvec3(by) * voxelMm, glm::dvec3(0.0)};
  for (const Volume<float>& b : {noEdgeShift(size), shiftAtEdges(size, place)}) {
    const MovedImage::Unmoved back = MovedImage(image, place).unmoved(motion, b, -1.0);
    for (int z = 0; z < size.z; ++z)
      for (int y = 0; y < size.y; ++y)
        for (int x = 0; x < size.x; ++x) {
          const glm::ivec3 p(x, y, z);
          const bool inside = p + by == glm::clamp(p + by, glm::ivec3(0), size - 1);
          EXPECT_NEAR(back.image[p], image.get(p + by), 1e-3);
          EXPECT_EQ(back.covered[p], inside ? 1 : 0);
        }
  }
}

Volume<float> unmovedFromNone(MovedImage& image, glm::ivec3 size) {
  return image.unmoved({}, noEdgeShift(size), 1.0).image;
}

TEST(MovedImage, SoftenedIsFilteredAlongZOnly) {
  const glm::ivec3 size(9, 11, 7);
  const GridPlace place = placeOf(size, voxelMm, glm::ivec3(1));
  const Volume<float> image = testdata::noise<float>(size, 100.0, 1);
  for (const double share : {0.4, 1.0}) {
    MovedImage moved(image, place);
    moved.soften(share);
    const Volume<float> soft = unmovedFromNone(moved, size);
    for (int z = 0; z < size.z; ++z)
      for (int y = 0; y < size.y; ++y)
        for (int x = 0; x < size.x; ++x) {
          const double below = image.at(x, y, std::max(z - 1, 0)),
                       above = image.at(x, y, std::min(z + 1, size.z - 1));
          const double wanted =
              (share * below + (6.0 - 2.0 * share) * image.at(x, y, z) + share * above) / 6.0;
          EXPECT_NEAR(soft.at(x, y, z), wanted, z == 0 || z + 1 == size.z ? 3.0 : 0.1);
        }
  }
}

TEST(MovedImage, SofteningIsTakenBackAndLeavesTheImagesOwnValues) {
  const glm::ivec3 size(9, 11, 7);
  const GridPlace place = placeOf(size, voxelMm, glm::ivec3(1));
  const Volume<float> image = testdata::noise<float>(size, 100.0, 1);
  MovedImage moved(image, place);
  const Volume<float> sharp = unmovedFromNone(moved, size), own = moved.through({});
  moved.soften(1.0);
  EXPECT_NE(unmovedFromNone(moved, size), sharp);
  EXPECT_EQ(moved.through({}), own);
  moved.soften(0.0);
  EXPECT_EQ(unmovedFromNone(moved, size), sharp);
}

TEST(MovedImage, TellsWhatSofteningKeepsOfNoise) {
  EXPECT_EQ(MovedImage::noiseKept(0.0), 1.0);
  EXPECT_NEAR(MovedImage::noiseKept(1.0), 0.5, 1e-12);
  const glm::ivec3 size(24, 24, 60);
  const Volume<float> image = testdata::noise<float>(size, 100.0, 1);
  MovedImage moved(image, placeOf(size, voxelMm, glm::ivec3(1)));
  moved.soften(0.5);
  const Volume<float> soft = unmovedFromNone(moved, size);
  double squares = 0.0;
  for (int i = 0; i < soft.size(); ++i)
    squares += static_cast<double>(soft.data()[i]) * soft.data()[i];
  EXPECT_NEAR(squares / soft.size() / 1e4, MovedImage::noiseKept(0.5), 0.02);
}

TEST(MovedImage, ATurnedObjectIsTurnedBack) {
  const GridPlace place = placeOf(bodySize, voxelMm, glm::ivec3(1));
  const RigidMotion motion{{2.0, -1.5, 1.0}, {6.0, -9.0, 12.0}};
  const Volume<float> still = sampled(bodySize, place, body);
  const Volume<float> moved =
      sampled(bodySize, place, [&](glm::dvec3 p) { return body(motion.before(p)); });
  ASSERT_GT(largestDifference(moved, still), 10.0);
  const MovedImage::Unmoved back =
      MovedImage(moved, place).unmoved(motion, noEdgeShift(bodySize), 1.0);
  EXPECT_LT(largestDifference(back.image, still), 0.15);
}

// The image of a body after `motion` and a displacement that goes along: what is at u gets to
// T u + sign b(u) along y, its density divided by the determinant of that mapping.
Volume<float> movedAndDistorted(const GridPlace& place, const RigidMotion& motion, double sign) {
  const auto mapping = [&](glm::dvec3 u) {
    return motion.after(u) + glm::dvec3(0.0, sign * shiftAt(u) * voxelMm.y, 0.0);
  };
  return sampled(bodySize, place, [&](glm::dvec3 q) {
    glm::dvec3 u = motion.before(q);
    for (int i = 0; i < 60; ++i) u -= motion.before(mapping(u)) - motion.before(q);
    const double h = 1e-4;
    glm::dmat3 jacobian;
    for (int axis = 0; axis < 3; ++axis) {
      glm::dvec3 step(0.0);
      step[axis] = h;
      jacobian[axis] = (mapping(u + step) - mapping(u - step)) / (2.0 * h);
    }
    return body(u) / glm::determinant(jacobian);
  });
}

TEST(MovedImage, IsTheDistortedImageThatAStillHeadWouldHaveGiven) {
  const GridPlace place = placeOf(bodySize, voxelMm, glm::ivec3(1));
  const RigidMotion motion{{2.0, -1.5, 1.0}, {5.0, -4.0, 7.0}};
  const Volume<float> b = shiftAtEdges(bodySize, place);
  for (const double sign : {1.0, -1.0}) {
    const Volume<float> moved = movedAndDistorted(place, motion, sign),
                        still = movedAndDistorted(place, {}, sign);
    const MovedImage::Unmoved back = MovedImage(moved, place).unmoved(motion, b, sign);
    EXPECT_LT(largestDifference(back.image, still), 0.25) << sign;
    // The determinant counts: at these angles the density differs by up to a few per cent.
    Volume<float> corrected(bodySize), truth = sampled(bodySize, place, body);
    correctAlong(ColumnIntegral<float>(back.image), b, static_cast<float>(sign), corrected);
    EXPECT_LT(testdata::rmsWhere(corrected, truth, truth, 5.0F), 0.15) << sign;
  }
}

TEST(MovedImage, IsKnownWhereItsGridReaches) {
  const glm::ivec3 size(12, 14, 10);
  const GridPlace place = placeOf(size, voxelMm, glm::ivec3(1));
  const RigidMotion motion{{3.0, 1.0, -2.0}, {0.0, 0.0, 20.0}};
  const Volume<float> image(size, 50.0F);
  const MovedImage::Unmoved back = MovedImage(image, place).unmoved(motion, noEdgeShift(size), 1.0);
  int unknown = 0;
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x) {
        const glm::dvec3 there =
            (motion.after(place.positionMm({x, y, z})) - place.firstMm) / voxelMm;
        double outside = -1e9;  // beyond the nearest face, in voxels
        for (int axis = 0; axis < 3; ++axis)
          outside = std::max({outside, -0.5 - there[axis], there[axis] - (size[axis] - 1) - 0.5});
        if (std::abs(outside) < 1e-9) continue;
        unknown += outside > 0.0;
        EXPECT_EQ(back.covered.at(x, y, z), outside > 0.0 ? 0 : 1);
        // A constant stays one up to the very border, and nothing is beyond it.
        EXPECT_NEAR(back.image.at(x, y, z), outside > 0.0 ? 0.0 : 50.0, 0.1);
      }
  EXPECT_GT(unknown, 200);
}

TEST(MovedImage, DisplacementsFromBeyondTheGridAreContinued) {
  const glm::ivec3 size(3, 12, 3);
  const GridPlace place = placeOf(size, voxelMm, glm::ivec3(1));
  const Volume<float> b(size.x, size.y + 1, size.z, 2.75F);
  const Volume<float> image = testdata::noise<float>(size, 10.0, 3);
  const RigidMotion motion{{0.0, voxelMm.y, 0.0}, glm::dvec3(0.0)};
  for (const double sign : {1.0, -1.0}) {
    const MovedImage::Unmoved back = MovedImage(image, place).unmoved(motion, b, sign);
    for (int y = 0; y < size.y; ++y)
      EXPECT_NEAR(back.image.at(1, y, 1), image.get(1, y + 1, 1), 1e-4);
  }
}

TEST(MovedImage, TakesGridsOfOneVoxelAndValuesThatAreNotFinite) {
  const RigidMotion motion{{0.1, 0.2, -0.1}, {1.0, 2.0, 3.0}};
  for (const glm::ivec3 size : {glm::ivec3(1, 1, 1), glm::ivec3(1, 9, 1), glm::ivec3(7, 1, 2)}) {
    const GridPlace place = placeOf(size, voxelMm, glm::ivec3(1));
    Volume<float> image(size, 3.0F), zeros = image;
    image.at(0, 0, 0) = std::numeric_limits<float>::quiet_NaN();
    zeros.at(0, 0, 0) = 0.0F;
    const auto one = MovedImage(image, place).unmoved(motion, noEdgeShift(size), 1.0);
    const auto other = MovedImage(zeros, place).unmoved(motion, noEdgeShift(size), 1.0);
    EXPECT_EQ(one.image, other.image);
    EXPECT_EQ(MovedImage(image, place).through(motion).dimensions(), size);
  }
}

TEST(MovedImage, ThroughTakesTheValuesThemselvesAndContinuesThem) {
  const glm::ivec3 size(9, 11, 7), by(2, -1, 3);
  const GridPlace place = placeOf(size, voxelMm, glm::ivec3(1));
  const Volume<float> image = testdata::noise<float>(size, 100.0, 1);
  EXPECT_LT(largestDifference(MovedImage(image, place).through({}), image), 1e-3);
  const RigidMotion motion{glm::dvec3(by) * voxelMm, glm::dvec3(0.0)};
  const Volume<float> seen = MovedImage(image, place).through(motion);
  for (int z = 0; z + by.z < size.z; ++z)
    for (int y = 1; y < size.y; ++y)
      for (int x = 0; x + by.x < size.x; ++x)
        EXPECT_NEAR(seen.at(x, y, z), image[glm::ivec3(x, y, z) + by], 1e-3);
  // Far out there is nothing but the border's own values.
  const Volume<float> constant(size, 7.0F);
  const Volume<float> far =
      MovedImage(constant, place).through({{500.0, -300.0, 200.0}, {0.0, 0.0, 50.0}});
  EXPECT_NEAR(far.min(), 7.0F, 0.05);
  EXPECT_NEAR(far.max(), 7.0F, 0.05);
}

TEST(MovedImage, ThroughTurnsASmoothMap) {
  const GridPlace place = placeOf(bodySize, voxelMm, glm::ivec3(1));
  const RigidMotion motion{{2.0, -1.5, 1.0}, {6.0, -9.0, 12.0}};
  const Volume<float> map = sampled(bodySize, place, shiftAt);
  const Volume<float> seen = MovedImage(map, place).through(motion);
  for (int z = 6; z < bodySize.z - 6; ++z)
    for (int y = 8; y < bodySize.y - 8; ++y)
      for (int x = 8; x < bodySize.x - 8; ++x)
        EXPECT_NEAR(seen.at(x, y, z), shiftAt(motion.after(place.positionMm({x, y, z}))), 1e-3);
}

}  // namespace

}  // namespace mirel
