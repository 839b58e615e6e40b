#include "masspreserving/transport.h"

#include <gtest/gtest.h>

#include <cmath>

#include "masspreserving/testdata.h"

namespace mirel {

namespace {

std::vector<double> gaussian(int n, double centre, double sigma) {
  std::vector<double> profile;
  const auto below = [&](double p) {
    return 0.5 * std::erf((p - centre) / (sigma * std::sqrt(2.0)));
  };
  for (int k = 0; k < n; ++k) profile.push_back(1000.0 * (below(k + 1.0) - below(k)));
  return profile;
}

TEST(TransportColumn, OfShiftedAndScaledGaussiansIsLinear) {
  // Quantile q lies at c + s q: b = (c1 - c2)/2 + (s1 - s2)/2 q at y = (c1 + c2)/2 + (s1 + s2)/2 q.
  const double c1 = 33.0, c2 = 28.0, s1 = 6.0, s2 = 4.0;
  const std::vector<double> b = transportColumn(gaussian(64, c1, s1), gaussian(64, c2, s2));
  ASSERT_EQ(b.size(), 65U);
  for (int j = 22; j <= 39; ++j) {
    const double q = (j - 0.5 * (c1 + c2)) / (0.5 * (s1 + s2));
    EXPECT_NEAR(b[static_cast<std::size_t>(j)], 0.5 * (c1 - c2) + 0.5 * (s1 - s2) * q, 0.03) << j;
  }
}

TEST(TransportColumn, IgnoresTheScaleOfAProfile) {
  std::vector<double> first = gaussian(40, 22.0, 4.0), second = gaussian(40, 18.0, 4.0);
  const std::vector<double> b = transportColumn(first, second);
  for (double& v : second) v *= 4.0;
  EXPECT_EQ(transportColumn(first, second), b);
  EXPECT_NEAR(b[20], 2.0, 0.02);
}

TEST(TransportColumn, NegatesWhenTheProfilesAreExchanged) {
  const std::vector<double> first = gaussian(40, 22.0, 5.0), second = gaussian(40, 18.0, 3.0);
  const std::vector<double> b = transportColumn(first, second), c = transportColumn(second, first);
  for (std::size_t j = 0; j < b.size(); ++j) EXPECT_EQ(b[j], -c[j]);
}

TEST(TransportColumn, WithoutSignalIsZero) {
  const std::vector<double> none(5, 0.0), bad{NAN, -1.0, INFINITY, 0.0, -3.0};
  for (const double v : transportColumn(none, gaussian(5, 2.0, 1.0))) EXPECT_EQ(v, 0.0);
  for (const double v : transportColumn(bad, gaussian(5, 2.0, 1.0))) EXPECT_EQ(v, 0.0);
}

TEST(TransportStart, ComesNearTheDisplacementOfAWholeObject) {
  const testdata::Pair pair = testdata::makePair({20, 24, 16}, 2.0);
  const Volume<float> edges = transportStart<float>(pair.first, pair.second, glm::dvec3(1.0));
  Volume<float> b(pair.first.dimensions());
  for (int z = 0; z < b.nz(); ++z)
    for (int y = 0; y < b.ny(); ++y)
      for (int x = 0; x < b.nx(); ++x)
        b.at(x, y, z) = 0.5F * (edges.at(x, y, z) + edges.at(x, y + 1, z));
  const Volume<float> zero(b.dimensions(), 0.0F);
  const double without = testdata::rmsWhere(zero, pair.shift, pair.first, 300.0F);
  EXPECT_LT(testdata::rmsWhere(b, pair.shift, pair.first, 300.0F), 0.35 * without);
}

}  // namespace

}  // namespace mirel
