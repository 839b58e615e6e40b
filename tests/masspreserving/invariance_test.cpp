#include <gtest/gtest.h>

#include "masspreserving/masspreserving.h"
#include "masspreserving/testdata.h"

namespace mirel {

namespace {

const glm::ivec3 size(28, 36, 20);
const glm::dvec3 voxelMm(3.0, 2.5, 3.5);

struct Noisy : testdata::Pair {
  explicit Noisy(glm::ivec3 n = size) : Pair(testdata::makePair(n, 2.0)) {
    first += testdata::noise<float>(n, 10.0, 1);
    second += testdata::noise<float>(n, 10.0, 2);
  }
};

Volume<float> estimate(const Volume<float>& first, const Volume<float>& second,
                       glm::dvec3 mm = voxelMm) {
  return estimateMassPreserving(first, second, mm).shiftVoxels;
}

TEST(MassPreservingInvariance, ExchangedImagesNegateTheMap) {
  const Noisy pair;
  EXPECT_EQ(estimate(pair.second, pair.first), -estimate(pair.first, pair.second));
}

TEST(MassPreservingInvariance, ScaledImagesLeaveTheMap) {
  const Noisy pair;
  const Volume<float> b = estimate(pair.first, pair.second);
  // Powers of two change no bit of the computation, other factors only its rounding.
  EXPECT_EQ(estimate(pair.first * 1024.0F, pair.second * 1024.0F), b);
  for (const float factor : {1e-12F, 0.3F, 1e12F})
    EXPECT_LT(testdata::rmsWhere(estimate(pair.first * factor, pair.second * 3.0F * factor), b,
                                 pair.first, 300.0F),
              2e-3);
}

TEST(MassPreservingInvariance, ShiftedGridShiftsTheMap) {
  const auto still = testdata::makePair({28, 44, 20}, 2.0),
             moved = testdata::makePair({28, 44, 20}, 2.0, 3);
  const Volume<float> b = estimate(still.first, still.second),
                      c = estimate(moved.first, moved.second);
  Volume<float> back(b.dimensions(), 0.0F);
  for (int z = 0; z < b.nz(); ++z)
    for (int y = 0; y + 3 < b.ny(); ++y)
      for (int x = 0; x < b.nx(); ++x) back.at(x, y, z) = c.at(x, y + 3, z);
  EXPECT_LT(testdata::rmsWhere(back, b, still.first, 300.0F), 0.01);
}

TEST(MassPreservingInvariance, MirroredImagesMirrorTheMap) {
  const Noisy pair;
  const auto mirrored = [](const Volume<float>& v, int axis) {
    Volume<float> result(v.dimensions());
    for (int z = 0; z < v.nz(); ++z)
      for (int y = 0; y < v.ny(); ++y)
        for (int x = 0; x < v.nx(); ++x) {
          glm::ivec3 p(x, y, z);
          p[axis] = v.dimensions()[axis] - 1 - p[axis];
          result.at(x, y, z) = v[p];
        }
    return result;
  };
  const Volume<float> b = estimate(pair.first, pair.second);
  for (int axis = 0; axis < 3; ++axis) {
    Volume<float> c =
        mirrored(estimate(mirrored(pair.first, axis), mirrored(pair.second, axis)), axis);
    if (axis == 1) c = -c;
    EXPECT_LT(testdata::rmsWhere(c, b, pair.first, 300.0F), 0.01) << "axis " << axis;
  }
}

TEST(MassPreservingInvariance, ExchangedXAndZExchangeInTheMap) {
  const Noisy pair;
  const auto exchanged = [](const Volume<float>& v) {
    Volume<float> result(v.nz(), v.ny(), v.nx());
    for (int z = 0; z < v.nz(); ++z)
      for (int y = 0; y < v.ny(); ++y)
        for (int x = 0; x < v.nx(); ++x) result.at(z, y, x) = v.at(x, y, z);
    return result;
  };
  const Volume<float> b = estimate(pair.first, pair.second);
  const Volume<float> c = exchanged(
      estimate(exchanged(pair.first), exchanged(pair.second), {voxelMm.z, voxelMm.y, voxelMm.x}));
  EXPECT_LT(testdata::rmsWhere(c, b, pair.first, 300.0F), 0.01);
}

}  // namespace

}  // namespace mirel
