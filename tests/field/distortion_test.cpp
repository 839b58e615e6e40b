#include "field/distortion.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "field/seriesfiles.h"

namespace mirel {

namespace {

using namespace seriesfiles;

const glm::ivec3 dims{5, 6, 4};
const Grid grid{dims, affineOf({2, 3, 4}, 0, {-5, 6, 7})};

Volume<float> shifts() {
  Volume<float> shift(dims);
  for (int n = 0; n < shift.size(); ++n) shift.data()[n] = 0.01f * static_cast<float>(n) - 0.4f;
  return shift;
}

Distortion gridShift(bids::PhaseEncodingDirection direction) {
  return Distortion(GridShift{shifts(), direction, grid.affine, "map"});
}

}  // namespace

TEST(Distortion, AFieldScalesWithReadoutTimeAndDirection) {
  const Distortion field(FieldHz{shifts() * 10.0f, grid.affine, "field"});
  EXPECT_TRUE(field.isField());
  EXPECT_EQ(field.name(), "field");
  EXPECT_EQ(field.dims(), dims);
  const Volume<float> forward = field.shiftFor(grid, {2, 1}, 0.05);
  EXPECT_TRUE(forward == shiftVoxels(field.field(), grid, {2, 1}, 0.05));
  EXPECT_TRUE(field.shiftFor(grid, {2, -1}, 0.05) == -forward);
  EXPECT_THROW(field.shiftFor(grid, {2, 1}, std::nullopt), std::logic_error);
}

// As if all readout times were one second.
TEST(Distortion, AMapOfOneGridIsItselfOrItsNegative) {
  for (const int sign : {1, -1}) {
    const Distortion map = gridShift({1, sign});
    EXPECT_FALSE(map.isField());
    EXPECT_TRUE(map.shiftFor(grid, {1, sign}, std::nullopt) == shifts());
    EXPECT_TRUE(map.shiftFor(grid, {1, -sign}, 0.07) == -shifts());
  }
}

TEST(Distortion, AMapIsRefusedForOtherGridsAndAxes) {
  const Distortion map = gridShift({1, 1});
  EXPECT_THROW(map.shiftFor(grid, {0, 1}, std::nullopt), std::logic_error);
  Grid other = grid;
  other.affine[3][0] += 1.0;
  EXPECT_FALSE(map.isOn(other));
  EXPECT_THROW(map.shiftFor(other, {1, 1}, std::nullopt), std::logic_error);
}

TEST(Distortion, AMapOfNoKnownPlaceFitsGridsOfItsDimensions) {
  const Distortion map(GridShift{shifts(), {0, 1}, std::nullopt, "a.map"});
  Grid other = grid;
  other.affine[3][0] += 100.0;
  EXPECT_TRUE(map.isOn(other));
  other.dims.z += 1;
  EXPECT_FALSE(map.isOn(other));
}

}  // namespace mirel
