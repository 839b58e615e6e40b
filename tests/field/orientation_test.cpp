#include <gtest/gtest.h>

#include <array>

#include "field/corrector.h"
#include "field/fieldhz.h"
#include "field/seriesfiles.h"

namespace mirel {

using namespace seriesfiles;

// One image and one field, stored with their axes in every order and direction.

namespace {

/// Axis n of the stored image is axis `from[n]` of the original, backwards where `flip[n]`.
struct Orientation {
  std::array<int, 3> from;
  std::array<bool, 3> flip;
};

std::vector<Orientation> allOrientations() {
  std::vector<Orientation> all;
  std::array<int, 3> order = {0, 1, 2};
  do
    for (int flips = 0; flips < 8; ++flips)
      all.push_back({order, {(flips & 1) != 0, (flips & 2) != 0, (flips & 4) != 0}});
  while (std::next_permutation(order.begin(), order.end()));
  return all;
}

/// The voxel of the original that stands at `p`.
glm::ivec3 originalVoxel(const Orientation& o, glm::ivec3 p, glm::ivec3 originalDims) {
  glm::ivec3 q(0);
  for (int n = 0; n < 3; ++n) {
    const int axis = o.from[size_t(n)];
    q[axis] = o.flip[size_t(n)] ? originalDims[axis] - 1 - p[n] : p[n];
  }
  return q;
}

Volume<float> stored(const Volume<float>& original, const Orientation& o) {
  glm::ivec3 dims(0);
  for (int n = 0; n < 3; ++n) dims[n] = original.dimensions()[o.from[size_t(n)]];
  return filled(dims, [&](int x, int y, int z) {
    return original[originalVoxel(o, {x, y, z}, original.dimensions())];
  });
}

glm::dmat4 storedAffine(const glm::dmat4& affine, glm::ivec3 originalDims, const Orientation& o) {
  glm::dmat4 toOriginal(0.0);
  toOriginal[3] = glm::dvec4(glm::dvec3(originalVoxel(o, glm::ivec3(0), originalDims)), 1);
  for (int n = 0; n < 3; ++n) toOriginal[n][o.from[size_t(n)]] = o.flip[size_t(n)] ? -1 : 1;
  return affine * toOriginal;
}

bids::PhaseEncodingDirection storedDirection(bids::PhaseEncodingDirection direction,
                                             const Orientation& o) {
  for (int n = 0; n < 3; ++n)
    if (o.from[size_t(n)] == direction.axis)
      return {n, o.flip[size_t(n)] ? -direction.sign : direction.sign};
  return direction;
}

}  // namespace

TEST(Orientation, All48GiveTheSameImageInSpace) {
  const Grid grid{{9, 12, 7}, affineOf({3, 3.2, 4}, 12, {-12, -20, -13})};
  const Grid fieldGrid{{8, 7, 9}, affineOf({5, 6, 4.5}, -8, {-20, -25, -20})};
  const Volume<float> image = smoothImage(grid.dims);
  const Volume<float> hz = sampled(
      fieldGrid, [](glm::dvec3 mm) { return 30 * std::sin(0.1 * mm.x + 0.13 * mm.y) + mm.z; });
  const bids::PhaseEncodingDirection direction{1, -1};
  constexpr double readout = 0.05;
  const Volume<float> expected = correctVolume(
      image, shiftVoxels({hz, fieldGrid.affine, "f"}, grid, direction, readout), 1, Modulation::on);
  ASSERT_GT(largestDifference(expected, image), 100);

  const std::vector<Orientation> all = allOrientations();
  ASSERT_EQ(all.size(), 48u);
  for (size_t n = 0; n < all.size(); ++n) {
    const Orientation& o = all[n];
    const Orientation& ofField = all[(5 * n + 7) % all.size()];
    const Volume<float> turned = stored(image, o);
    const Grid turnedGrid{turned.dimensions(), storedAffine(grid.affine, grid.dims, o)};
    const FieldHz field{stored(hz, ofField),
                        storedAffine(fieldGrid.affine, fieldGrid.dims, ofField), "f"};
    const bids::PhaseEncodingDirection turnedDirection = storedDirection(direction, o);
    const Volume<float> corrected =
        correctVolume(turned, shiftVoxels(field, turnedGrid, turnedDirection, readout),
                      turnedDirection.axis, Modulation::on);
    // Rounding of positions and of the spline's recursion, which runs the other way.
    EXPECT_LT(largestDifference(corrected, stored(expected, o)), 1e-3) << "orientation " << n;
  }
}

}  // namespace mirel
