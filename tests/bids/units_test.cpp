#include "bids/units.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

namespace mirel::bids {

TEST(Units, AreReadInEverySpellingAndNamedInOne) {
  for (const char* text : {"Hz", "hz", " Hertz "}) EXPECT_EQ(unitOf(text), Unit::hertz) << text;
  for (const char* text : {"rad/s", "Rad / s", "radians/s", "rad/sec", "radians per second"})
    EXPECT_EQ(unitOf(text), Unit::radiansPerSecond) << text;
  for (const char* text : {"voxels", "voxel", "pixels"})
    EXPECT_EQ(unitOf(text), Unit::voxels) << text;
  for (const char* text : {"", "ppm", "1/s", "kHz", "mT", "m", "rad/m"})
    EXPECT_FALSE(unitOf(text)) << text;
  for (const Unit unit : {Unit::hertz, Unit::radiansPerSecond, Unit::tesla, Unit::voxels,
                          Unit::millimetres, Unit::radians, Unit::arbitrary})
    EXPECT_EQ(unitOf(nameOf(unit)), unit);
}

TEST(Units, OfFieldsAreHertz) {
  EXPECT_EQ(hertzPer(Unit::hertz), 1);
  EXPECT_NEAR(188.49556 * hertzPer(Unit::radiansPerSecond), 30, 1e-6);
  EXPECT_NEAR(7.046e-7 * hertzPer(Unit::tesla), 30, 1e-3);
  EXPECT_THROW(hertzPer(Unit::voxels), std::logic_error);
  EXPECT_TRUE(isOfField(Unit::tesla));
  EXPECT_FALSE(isOfField(Unit::millimetres));
  EXPECT_TRUE(isOfMap(Unit::millimetres));
  EXPECT_FALSE(isOfMap(Unit::radians));
}

}  // namespace mirel::bids
