#include "numerics/sortedvalues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace mirel {

// The plain way.
std::vector<float> sortedByComparing(const Volume<float>& image) {
  std::vector<float> values;
  std::copy_if(image.data(), image.data() + image.size(), std::back_inserter(values),
               [](float v) { return std::isfinite(v); });
  std::sort(values.begin(), values.end());
  return values;
}

TEST(SortedValues, AreThoseOfComparing) {
  for (const double scale : {1e-42, 1e-3, 1.0, 1e30}) {
    Volume<float> image(31, 17, 13);
    for (int i = 0; i < image.size(); ++i)
      image.data()[i] = static_cast<float>(std::sin(i * 12.9898) * scale * (i % 7 == 0 ? 300 : 1));
    EXPECT_EQ(sortedFinite(image), sortedByComparing(image)) << scale;
  }
}

TEST(SortedValues, ManyEqualOnes) {
  Volume<float> image(9, 9, 9);
  for (int i = 0; i < image.size(); ++i) image.data()[i] = static_cast<float>(i * 37 % 5 - 2);
  EXPECT_EQ(sortedFinite(image), sortedByComparing(image));
}

TEST(SortedValues, TheEndsOfTheRangeAndWhatIsNotFinite) {
  using Limits = std::numeric_limits<float>;
  Volume<float> image(9, 1, 1);
  const float values[] = {Limits::max(),
                          0.0F,
                          Limits::quiet_NaN(),
                          -Limits::max(),
                          -0.0F,
                          Limits::denorm_min(),
                          -1.0F,
                          -Limits::infinity(),
                          1.0F};
  std::copy(std::begin(values), std::end(values), image.data());
  const std::vector<float> sorted = sortedFinite(image);
  EXPECT_EQ(sorted, (std::vector<float>{-Limits::max(), -1.0F, -0.0F, 0.0F, Limits::denorm_min(),
                                        1.0F, Limits::max()}));
  EXPECT_TRUE(std::signbit(sorted[2]));
  EXPECT_FALSE(std::signbit(sorted[3]));
  EXPECT_TRUE(sortedFinite(Volume<float>()).empty());
}

}  // namespace mirel
