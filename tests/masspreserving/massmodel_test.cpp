#include "masspreserving/massmodel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "masspreserving/testdata.h"

namespace mirel {

namespace {

const glm::ivec3 voxels(4, 9, 3);
const glm::ivec3 edges(4, 10, 3);

Volume<float> image(std::uint64_t stream) { return testdata::noisyImage(voxels, stream); }

const Volume<unsigned char> everything(voxels, 1);

TEST(MassModel, ResidualIsTheDifferenceOfTheCorrectedImages) {
  const MassModel<double> model(image(1), image(2));
  const Volume<double> b = testdata::noise<double>(edges, 0.2, 11);
  Volume<double> r(voxels, 0.0), s(edges, 0.0), first(voxels, 0.0), second(voxels, 0.0);
  model.evaluate(b, r, s);
  model.correct(b, first, second);
  for (int i = 0; i < r.size(); ++i)
    EXPECT_NEAR(r.data()[i], first.data()[i] - second.data()[i], 1e-12);
}

TEST(MassModel, CoversVoxelsWithBothEdgesOnBothGrids) {
  const MassModel<double> model(image(1), image(2));
  Volume<double> b(edges, 0.0), covered(voxels, 0.0);
  b.setAll(1.5);
  model.coverage(b, covered);
  for (int y = 0; y < voxels.y; ++y)
    EXPECT_EQ(covered.at(2, y, 1), y >= 2 && y < voxels.y - 2 ? 1.0 : 0.0) << y;
}

TEST(MassModel, TakesOtherImages) {
  MassModel<double> model(image(1), image(2));
  const MassModel<double> other(image(3), image(4));
  model.replace(image(3), everything, image(4), everything);
  const Volume<double> b = testdata::noise<double>(edges, 0.2, 11);
  Volume<double> r(voxels), s(edges), expectedR(voxels), expectedS(edges), covered(voxels),
      expectedCovered(voxels);
  model.evaluate(b, r, s);
  other.evaluate(b, expectedR, expectedS);
  EXPECT_EQ(r, expectedR);
  EXPECT_EQ(s, expectedS);
  model.coverage(b, covered);
  other.coverage(b, expectedCovered);
  EXPECT_EQ(covered, expectedCovered);
}

TEST(MassModel, RefusesOtherSizes) {
  const Volume<float> small(4, 9, 2, 1.0F);
  const Volume<unsigned char> smallMask(4, 9, 2, 1);
  EXPECT_THROW(MassModel<float>(image(1), small), std::invalid_argument);
  MassModel<float> model(image(1), image(2));
  EXPECT_THROW(model.replace(small, everything, image(2), everything), std::invalid_argument);
  EXPECT_THROW(model.replace(image(1), smallMask, image(2), everything), std::invalid_argument);
  EXPECT_THROW(model.replace(image(1), everything, small, everything), std::invalid_argument);
  EXPECT_THROW(model.replace(image(1), everything, image(2), smallMask), std::invalid_argument);
}

TEST(MassModel, DoesNotCoverWhatIsNotKnownOfEitherImage) {
  MassModel<double> model(image(1), image(2));
  Volume<unsigned char> firstKnown = everything, secondKnown = everything;
  firstKnown.at(1, 6, 1) = 0;   // reached forward
  secondKnown.at(2, 2, 1) = 0;  // and in reverse
  model.replace(image(1), firstKnown, image(2), secondKnown);
  Volume<double> b(edges, 1.25), covered(voxels);
  model.coverage(b, covered);
  for (int y = 0; y < voxels.y; ++y) {
    const bool onGrid = y >= 2 && y < voxels.y - 2;
    // Voxel y lies in y + 1.25 .. y + 2.25 of the first image.
    EXPECT_EQ(covered.at(1, y, 1), onGrid && y != 5 && y != 4 ? 1.0 : 0.0) << y;
    // And in y - 1.25 .. y - 0.25 of the second.
    EXPECT_EQ(covered.at(2, y, 1), onGrid && y != 3 && y != 4 ? 1.0 : 0.0) << y;
    EXPECT_EQ(covered.at(0, y, 1), onGrid ? 1.0 : 0.0) << y;
  }
}

TEST(CorrectAlong, IsWhatTheModelDoesWithEitherImage) {
  const MassModel<float> model(image(1), image(2));
  const Volume<float> b = testdata::noise<float>(edges, 0.2, 11);
  Volume<float> first(voxels), second(voxels), along(voxels), against(voxels);
  model.correct(b, first, second);
  correctAlong(ColumnIntegral<float>(image(1)), b, 1.0F, along);
  correctAlong(ColumnIntegral<float>(image(2)), b, -1.0F, against);
  EXPECT_EQ(along, first);
  EXPECT_EQ(against, second);
}

TEST(CorrectAlong, MovesByWholeVoxelsAndKeepsTheSignal) {
  const Volume<float> one = image(1);
  Volume<double> b(edges, 2.0), out(voxels);
  correctAlong(ColumnIntegral<double>(one), b, 1.0, out);
  for (int y = 0; y < voxels.y; ++y)
    EXPECT_NEAR(out.at(1, y, 2), static_cast<double>(one.get(1, y + 2, 2)), 1e-12) << y;
  correctAlong(ColumnIntegral<double>(one), b, -1.0, out);
  for (int y = 0; y < voxels.y; ++y)
    EXPECT_NEAR(out.at(1, y, 2), static_cast<double>(one.get(1, y - 2, 2)), 1e-12) << y;
  // A stretch makes less of it per voxel, none of it is lost.
  for (int z = 0; z < edges.z; ++z)
    for (int j = 0; j < edges.y; ++j)
      for (int x = 0; x < edges.x; ++x)
        b.at(x, j, z) = j == 0 || j == voxels.y ? 0.0 : 0.4 * std::sin(j + x);
  correctAlong(ColumnIntegral<double>(one), b, 1.0, out);
  for (int x = 0; x < voxels.x; ++x) {
    double before = 0.0, after = 0.0;
    for (int y = 0; y < voxels.y; ++y) {
      before += static_cast<double>(one.at(x, y, 0));
      after += out.at(x, y, 0);
    }
    EXPECT_NEAR(after, before, 1e-12);
  }
}

}  // namespace

}  // namespace mirel
