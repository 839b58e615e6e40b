#include "files/usablemap.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/error.h"
#include "files/mapfile.h"
#include "support/messageof.h"

namespace {

using namespace mirel;

Map mapWith(float value) {
  Volume<float> values(4, 6, 2, 1.5F);
  values.at(1, 2, 1) = value;
  return mapOf(values);
}

TEST(UsableMap, MayDisplaceAsFarAsTheImageIsLong) {
  EXPECT_NO_THROW(refuseUnusableMap(mapWith(6), "a.map"));
  EXPECT_NO_THROW(refuseUnusableMap(mapWith(-6), "a.map"));
}

TEST(UsableMap, ValuesThatAreNotFiniteAreCounted) {
  for (const float value :
       {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()})
    EXPECT_EQ(messageOf<Error>([&] { refuseUnusableMap(mapWith(value), "a.map"); }),
              "a.map is no usable map: 1 of its 48 values is not finite");
}

TEST(UsableMap, DisplacementsBeyondTheImageAreRefused) {
  for (const float value : {6.5F, -6.5F})
    EXPECT_EQ(messageOf<Error>([&] { refuseUnusableMap(mapWith(value), "a.map"); }),
              "a.map is no usable map: it displaces by up to 6.5 voxels, its slices have 6");
}

}  // namespace
