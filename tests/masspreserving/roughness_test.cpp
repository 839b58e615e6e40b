#include "masspreserving/roughness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "masspreserving/objective.h"
#include "masspreserving/testdata.h"

namespace mirel {

namespace {

// Sum of squared difference quotients, the definition read literally.
double gradientEnergy(const Volume<double>& b, glm::dvec3 h) {
  double sum = 0.0;
  for (int z = 0; z < b.nz(); ++z)
    for (int y = 0; y < b.ny(); ++y)
      for (int x = 0; x < b.nx(); ++x) {
        const auto add = [&](glm::ivec3 p, double length) {
          if (p.x >= b.nx() || p.y >= b.ny() || p.z >= b.nz()) return;
          const double d = (b[p] - b.at(x, y, z)) / length;
          sum += d * d;
        };
        add({x + 1, y, z}, h.x);
        add({x, y + 1, z}, h.y);
        add({x, y, z + 1}, h.z);
      }
  return sum;
}

TEST(Roughness, FormIsTheSumOfSquaredDifferenceQuotients) {
  for (const glm::ivec3 size : {glm::ivec3(5, 6, 4), glm::ivec3(1, 7, 1), glm::ivec3(2, 2, 2),
                                glm::ivec3(1, 1, 1), glm::ivec3(17, 3, 1)}) {
    const glm::dvec3 h(1.5, 2.0, 3.0);
    const Volume<double> b = testdata::noise<double>(size, 1.0, 1);
    Volume<double> out(size, 0.0), scratch(size, 0.0);
    Roughness<double>(size, h, 2.0, 0.0).apply(b, out, scratch);
    const double expected = 2.0 * gradientEnergy(b, h);
    EXPECT_NEAR(dot(b, out), expected, 1e-10 * (1.0 + expected));
    Volume<double> laplacian(size, 0.0);
    const Roughness<double> bending(size, h, 0.0, 3.0);
    bending.laplacian(b, laplacian);
    bending.apply(b, out, scratch);
    EXPECT_NEAR(dot(b, out), 3.0 * dot(laplacian, laplacian), 1e-10 * (1.0 + expected));
  }
}

// Factors from 0.3 to 10.
Volume<double> someFactors(glm::ivec3 size) {
  Volume<double> factors = testdata::noise<double>(size, 1.0, 7);
  for (int i = 0; i < factors.size(); ++i)
    factors.data()[i] = std::clamp(std::exp(factors.data()[i]), 0.3, 10.0);
  return factors;
}

TEST(Roughness, FactorsWeighTheBendingOfEachPlace) {
  const glm::ivec3 size(5, 6, 4);
  const glm::dvec3 h(1.5, 2.0, 3.0);
  const auto factors = std::make_shared<const Volume<double>>(someFactors(size));
  const Volume<double> b = testdata::noise<double>(size, 1.0, 1);
  Volume<double> out(size, 0.0), scratch(size, 0.0), laplacian(size, 0.0);
  const Roughness<double> form(size, h, 2.0, 3.0, {}, factors);
  form.laplacian(b, laplacian);
  form.apply(b, out, scratch);
  const double expected = 2.0 * gradientEnergy(b, h) + 3.0 * dot(laplacian, *factors * laplacian);
  EXPECT_NEAR(dot(b, out), expected, 1e-10 * expected);
}

TEST(Roughness, FactorsOfOneChangeNothing) {
  const glm::ivec3 size(5, 6, 4);
  const auto ones = std::make_shared<const Volume<float>>(size, 1.0F);
  const Volume<float> b = testdata::noise<float>(size, 1.0, 1);
  Volume<float> out(size), same(size), scratch(size);
  Roughness<float>(size, {1.5, 2.0, 3.0}, 2.0, 3.0).apply(b, out, scratch);
  Roughness<float>(size, {1.5, 2.0, 3.0}, 2.0, 3.0, {}, ones).apply(b, same, scratch);
  EXPECT_EQ(out, same);
}

TEST(Roughness, FactorsOfAnotherGridAreRefused) {
  const auto factors = std::make_shared<const Volume<double>>(glm::ivec3(5, 6, 3), 1.0);
  EXPECT_THROW(Roughness<double>({5, 6, 4}, glm::dvec3(1.0), 1.0, 1.0, {}, factors),
               std::logic_error);
}

TEST(Roughness, OfAConstantIsZero) {
  const Volume<float> b(6, 5, 4, 3.25F);
  Volume<float> out(6, 5, 4, 1.0F), scratch(b);
  Roughness<float>({6, 5, 4}, glm::dvec3(1.7), 1.0, 1.0).apply(b, out, scratch);
  for (int i = 0; i < out.size(); ++i) EXPECT_EQ(out.data()[i], 0.0F);
}

TEST(Roughness, BandRowsAreTheMatrixOfAnInnerColumn) {
  const glm::ivec3 size(7, 6, 7);
  const Roughness<double> roughness(size, {1.5, 2.0, 3.0}, 0.7, 0.3);
  for (int j = 0; j < size.y; ++j) {
    Volume<double> unit(size, 0.0), column(size, 0.0), scratch(size, 0.0);
    unit.at(3, j, 3) = 1.0;
    roughness.apply(unit, column, scratch);
    const auto gradient = roughness.gradientRow(j), bending = roughness.bendingRow(j);
    EXPECT_NEAR(gradient.diagonal + bending.diagonal, column.at(3, j, 3), 1e-12);
    EXPECT_NEAR(gradient.next + bending.next, column.get(3, j + 1, 3), 1e-12);
    EXPECT_NEAR(gradient.afterNext + bending.afterNext, column.get(3, j + 2, 3), 1e-12);
    EXPECT_EQ(column.get(3, j + 3, 3), 0.0);
  }
}

}  // namespace

}  // namespace mirel
