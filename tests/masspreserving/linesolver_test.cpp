#include "masspreserving/linesolver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>

#include "masspreserving/objective.h"
#include "masspreserving/testdata.h"

namespace mirel {

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

TEST(LineSolver, SolvesASingleColumn) {
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

TEST(ConjugateGradients, ReachTheSolution) {
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

// Factors that vary a hundredfold, as smoothly as those of tissue do.
TEST(ConjugateGradients, TakeNoLongerWithFactorsOfTheBending) {
  const glm::ivec3 size(12, 20, 10);
  Volume<double> factors(size);
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x)
        factors.at(x, y, z) = std::pow(10.0, std::sin(0.3 * x) + std::sin(0.4 * y + 0.2 * z));
  const auto iterations = [&](const Roughness<double>& form, const Roughness<double>& forLines) {
    System system(size);
    system.diagonal *= 0.01;
    system.next *= 0.01;
    system.roughness = form;
    const Volume<double> wanted = testdata::noise<double>(size, 1.0, 3);
    Volume<double> rhs(size, 0.0), x;
    system.product(wanted, rhs);
    const LineSolver<double> lines(forLines, system.diagonal, system.next);
    const auto product = [&](const Volume<double>& v, Volume<double>& out) {
      system.product(v, out);
    };
    return conjugateGradients<double>(product, lines, rhs, x, 1e-3, 1000).iterations;
  };
  const glm::dvec3 h(1.0, 1.2, 1.5);
  const Roughness<double> plain(size, h, 0.5, 0.2);
  const Roughness<double> local(size, h, 0.5, 0.2, {},
                                std::make_shared<const Volume<double>>(factors));
  const int asBefore = iterations(plain, plain), withFactors = iterations(local, local);
  EXPECT_LT(withFactors, 1.5 * asBefore);
  EXPECT_GT(iterations(local, plain), 1.5 * withFactors);
}

TEST(ConjugateGradients, ReturnZeroForAZeroRightHandSide) {
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

struct Solvable : System {
  Volume<double> wanted, rhs;
  LineSolver<double> lines;
  std::function<void(const Volume<double>&, Volume<double>&)> hessian =
      [this](const Volume<double>& v, Volume<double>& out) { product(v, out); };

  Solvable()
      : System({6, 9, 5}),
        wanted(testdata::noise<double>(size, 1.0, 3)),
        rhs(size, 0.0),
        lines(roughness, diagonal, next) {
    product(wanted, rhs);
  }
};

TEST(ImproveSolution, ReachesTheSolutionFromAnywhere) {
  Solvable system;
  for (const double sigma : {0.0, 0.1, 100.0}) {
    Volume<double> x = testdata::noise<double>(system.size, sigma, 4);
    const SolveResult result =
        improveSolution<double>(system.hessian, system.lines, system.rhs, x, 1e-10, 200);
    EXPECT_LE(result.relativeResidual, 1e-10);
    for (int i = 0; i < x.size(); ++i) EXPECT_NEAR(x.data()[i], system.wanted.data()[i], 1e-7);
  }
}

TEST(ImproveSolution, FromZeroIsConjugateGradients) {
  Solvable system;
  Volume<double> x(system.size, 0.0), y;
  const SolveResult one =
      improveSolution<double>(system.hessian, system.lines, system.rhs, x, 1e-4, 200);
  const SolveResult other =
      conjugateGradients<double>(system.hessian, system.lines, system.rhs, y, 1e-4, 200);
  EXPECT_EQ(x, y);
  EXPECT_EQ(one.iterations, other.iterations);
  EXPECT_EQ(one.relativeResidual, other.relativeResidual);
}

TEST(ImproveSolution, NeedsLessFromNearBy) {
  Solvable system;
  Volume<double> zero(system.size, 0.0);
  Volume<double> near = system.wanted + testdata::noise<double>(system.size, 0.01, 4);
  const int fromZero =
      improveSolution<double>(system.hessian, system.lines, system.rhs, zero, 1e-4, 200).iterations;
  const int fromNear =
      improveSolution<double>(system.hessian, system.lines, system.rhs, near, 1e-4, 200).iterations;
  EXPECT_LT(fromNear, fromZero);
  Volume<double> solution = system.wanted;
  EXPECT_EQ(improveSolution<double>(system.hessian, system.lines, system.rhs, solution, 1e-4, 200)
                .iterations,
            0);
  EXPECT_EQ(solution, system.wanted);
}

TEST(ImproveSolution, MakesNoMoreStepsThanItMay) {
  Solvable system;
  Volume<double> x(system.size, 0.0), kept = testdata::noise<double>(system.size, 1.0, 4);
  const SolveResult result =
      improveSolution<double>(system.hessian, system.lines, system.rhs, x, 1e-12, 2);
  EXPECT_EQ(result.iterations, 2);
  EXPECT_GT(result.relativeResidual, 1e-12);
  Volume<double> same = kept;
  improveSolution<double>(system.hessian, system.lines, system.rhs, same, 1e-12, 0);
  EXPECT_EQ(same, kept);
}

TEST(ImproveSolution, IsZeroForAZeroRightHandSide) {
  Solvable system;
  Volume<double> x = testdata::noise<double>(system.size, 1.0, 4);
  const SolveResult result = improveSolution<double>(system.hessian, system.lines,
                                                     Volume<double>(system.size, 0.0), x, 1e-3, 60);
  EXPECT_EQ(result.relativeResidual, 0.0);
  EXPECT_EQ(x, Volume<double>(system.size, 0.0));
}

}  // namespace

}  // namespace mirel
