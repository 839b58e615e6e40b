#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "field/fieldhz.h"
#include "field/grid.h"
#include "support/smallpair.h"

namespace mirel {

// One object, stored with its axes in every order and direction: the field in Hz must be the
// same at every place of the scanner.

namespace {

// New axis n is old axis order[n], reversed where flip[n].
struct Storage {
  std::array<int, 3> order;
  std::array<bool, 3> flip;

  glm::ivec3 old(glm::ivec3 p, glm::ivec3 oldDims) const {
    glm::ivec3 q;
    for (int n = 0; n < 3; ++n) {
      const int axis = order[static_cast<std::size_t>(n)];
      q[axis] = flip[static_cast<std::size_t>(n)] ? oldDims[axis] - 1 - p[n] : p[n];
    }
    return q;
  }
};

InputImage stored(const InputImage& image, const Storage& how) {
  InputImage result = image;
  const glm::ivec3 dims = image.header.dims;
  glm::ivec3 newDims;
  for (int n = 0; n < 3; ++n) newDims[n] = dims[how.order[static_cast<std::size_t>(n)]];
  result.image = Volume<float>(newDims);
  for (int z = 0; z < newDims.z; ++z)
    for (int y = 0; y < newDims.y; ++y)
      for (int x = 0; x < newDims.x; ++x)
        result.image.at(x, y, z) = image.image[how.old({x, y, z}, dims)];
  const glm::dmat4 affine = image.header.affine();
  glm::dmat4 newAffine(1.0);
  for (int n = 0; n < 3; ++n) {
    const auto at = static_cast<std::size_t>(n);
    newAffine[n] = affine[how.order[at]] * (how.flip[at] ? -1.0 : 1.0);
    if (how.order[at] == image.direction().axis)
      result.acquisition.direction->value = {n, image.direction().sign * (how.flip[at] ? -1 : 1)};
  }
  newAffine[3] = affine * glm::dvec4(glm::dvec3(how.old({0, 0, 0}, dims)), 1.0);
  result.header.dims = newDims;
  result.header.setAffine(newAffine, 1);
  return result;
}

Volume<float> fieldOnTheFirstGrid(const PairInput& pair, const Grid& grid) {
  const PairEstimate estimate = estimatePairMap(pair, {}, noProgress);
  const FieldHz field = fieldFromShift(estimate.shift, gridOf(pair.a.header), pair.a.direction(),
                                       *pair.readoutSeconds, "field");
  return resampleTo(grid, field.hz, field.affine, "field", Interpolation::linear);
}

}  // namespace

// The sweep order of the search and the centre of the column fit follow the storage, so that the
// fields differ slightly: the worst here was 0.02 voxels rms. A wrong sign or axis gives more
// than 0.6.
TEST(Orientation, all48PermutationsAndFlipsGiveTheSameField) {
  const PairInput pair = smallPair();
  const Grid grid = gridOf(pair.a.header);
  const Volume<float> expected = fieldOnTheFirstGrid(pair, grid);
  const double hzPerVoxel = 1 / *pair.readoutSeconds;
  ASSERT_GT(rmsInBrain(expected, Volume<float>(grid.dims, 0.0f)) / hzPerVoxel, 0.3);
  std::array<int, 3> order = {0, 1, 2};
  double worst = 0;
  int count = 0;
  do {
    for (int flips = 0; flips < 8; ++flips, ++count) {
      const Storage how{order, {(flips & 1) != 0, (flips & 2) != 0, (flips & 4) != 0}};
      PairInput other = pair;
      other.a = stored(pair.a, how);
      other.b = stored(pair.b, how);
      const double rms = rmsInBrain(fieldOnTheFirstGrid(other, grid), expected) / hzPerVoxel;
      worst = std::max(worst, rms);
      EXPECT_LT(rms, 0.06) << order[0] << order[1] << order[2] << " flips " << flips;
    }
  } while (std::next_permutation(order.begin(), order.end()));
  EXPECT_EQ(count, 48);
  RecordProperty("worstVoxels", std::to_string(worst));
  std::printf("worst rms difference: %.4f voxels\n", worst);
}

}  // namespace mirel
