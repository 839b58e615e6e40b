#include "masspreserving/linesolver.h"

#include <gtest/gtest.h>

#include <cmath>

#include "masspreserving/objective.h"
#include "masspreserving/testdata.h"

namespace {

struct System {
  glm::ivec3 size;
  Roughness<double> roughness;
  Volume<double> diagonal, next, scratch;

  explicit System(glm::ivec3 n)
      : size(n),
        roughness(n, {1.0, 1.2, 1.5}, 0.5, 0.2),
        diagonal(testdata::noise<double>(n, 1.0, 1)),
        next(testdata::noise<double>(n, 0.4, 2)),
        scratch(n, 0.0) {
    for (int i = 0; i < diagonal.size(); ++i)
      diagonal.data()[i] = 2.0 + std::abs(diagonal.data()[i]);
    for (int z = 0; z < n.z; ++z)
      for (int x = 0; x < n.x; ++x) next.at(x, n.y - 1, z) = 0.0;
  }
  void product(const Volume<double>& v, Volume<double>& out) {
    roughness.apply(v, out, scratch);
    for (int z = 0; z < size.z; ++z)
      for (int j = 0; j < size.y; ++j)
        for (int x = 0; x < size.x; ++x)
          out.at(x, j, z) += diagonal.at(x, j, z) * v.at(x, j, z) +
                             next.at(x, j, z) * v.get(x, j + 1, z) +
                             next.get(x, j - 1, z) * v.get(x, j - 1, z);
  }
};

TEST(LineSolver, solvesASingleColumn) {
  for (const int n : {1, 2, 3, 4, 17}) {
    System system({1, n, 1});
    const Volume<double> wanted = testdata::noise<double>(system.size, 1.0, 3);
    Volume<double> rhs(system.size, 0.0), x(system.size, 0.0);
    system.product(wanted, rhs);
    LineSolver<double>(system.roughness, system.diagonal, system.next).solve(rhs, x);
    // The solver adds a ridge of 1e-5 to the diagonal.
    for (int i = 0; i < x.size(); ++i) EXPECT_NEAR(x.data()[i], wanted.data()[i], 1e-3) << n;
  }
}

TEST(ConjugateGradients, reachTheSolution) {
  System system({6, 9, 5});
  const Volume<double> wanted = testdata::noise<double>(system.size, 1.0, 3);
  Volume<double> rhs(system.size, 0.0), x;
  system.product(wanted, rhs);
  const LineSolver<double> lines(system.roughness, system.diagonal, system.next);
  const auto product = [&](const Volume<double>& v, Volume<double>& out) {
    system.product(v, out);
  };
  const SolveResult result = conjugateGradients<double>(product, lines, rhs, x, 1e-10, 200);
  EXPECT_LE(result.relativeResidual, 1e-10);
  EXPECT_LT(result.iterations, 60);
  for (int i = 0; i < x.size(); ++i) EXPECT_NEAR(x.data()[i], wanted.data()[i], 1e-7);
}

TEST(ConjugateGradients, returnZeroForAZeroRightHandSide) {
  System system({3, 3, 3});
  Volume<double> x;
  const LineSolver<double> lines(system.roughness, system.diagonal, system.next);
  const auto product = [&](const Volume<double>& v, Volume<double>& out) {
    system.product(v, out);
  };
  const SolveResult result =
      conjugateGradients<double>(product, lines, Volume<double>(system.size, 0.0), x, 1e-3, 10);
  EXPECT_EQ(result.iterations, 0);
  EXPECT_EQ(x, Volume<double>(system.size, 0.0));
}

}  // namespace
