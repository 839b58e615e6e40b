#include "numerics/bspline.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "reference/bspline.h"
#include "support/compare.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

using compare::same;
using Doubles = std::vector<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double sixth = 0.16666666666666666;

std::size_t count(glm::ivec3 d) { return static_cast<std::size_t>(d.x * d.y * d.z); }

Doubles coefficients3D(Doubles samples, glm::ivec3 d) {
  Doubles q(samples.size());
  computeBSplineCoeff3D(samples.data(), d.x, d.y, d.z, q.data());
  return q;
}

Doubles coefficients1D(Doubles samples) {
  Doubles q(samples.size());
  computeBSplineCoeff1D(samples.data(), static_cast<int>(samples.size()), q.data());
  return q;
}

double valueAt(Doubles q, double x) {
  double value = -1;
  evalBSpline1D(q.data(), static_cast<int>(q.size()), &x, 1, &value);
  return value;
}

// Positions in, at and far beyond a grid of n samples.
Doubles positions(Random& random, int n, int m) {
  Doubles p = random.doubles(m, -4, n + 4);
  const double special[] = {-2,
                            -1,
                            0,
                            1,
                            n - 1.0,
                            double(n),
                            n + 1.0,
                            -0.0,
                            nan,
                            inf,
                            -inf,
                            1e300,
                            -1e300,
                            5e9,
                            std::nextafter(-2.0, 0.0),
                            std::nextafter(n + 1.0, 0.0)};
  for (const double s : special) p[static_cast<std::size_t>(random.below(m))] = s;
  return p;
}

struct Results {
  Doubles value, gradX, gradY, gradZ;
  explicit Results(std::size_t m)
      : value(m, -7.0), gradX(m, -7.0), gradY(m, -7.0), gradZ(m, -7.0) {}
};

void expectSame(const Results& a, const Results& b) {
  EXPECT_TRUE(same(a.value, b.value));
  EXPECT_TRUE(same(a.gradX, b.gradX));
  EXPECT_TRUE(same(a.gradY, b.gradY));
  EXPECT_TRUE(same(a.gradZ, b.gradZ));
}

TEST(BSplineCoefficients, SolveTheInterpolationConditionWithZerosBeyondTheEnds) {
  Random random(1);
  const Doubles f = random.doubles(23, -50, 50);
  const Doubles q = coefficients1D(f);
  for (std::size_t i = 0; i < f.size(); ++i) {
    const double before = i == 0 ? 0 : q[i - 1], after = i + 1 == f.size() ? 0 : q[i + 1];
    EXPECT_NEAR((before + 4 * q[i] + after) / 6, f[i], 1e-12);
  }
}

TEST(BSplineCoefficients, HaveTheFirstFactorsOneAndAHalfAndOnePointSix) {
  EXPECT_EQ(coefficients1D({1.0}), Doubles{1.5});
  // Two samples (0, 1): q1 = 1*d1, q0 = 0 - 0.25*q1 with d1 = 1 / (3.75/6).
  const double d1 = 1 / ((4 - 0.25) * sixth);
  EXPECT_NEAR(d1, 1.6, 1e-15);
  EXPECT_EQ(coefficients1D({0.0, 1.0}), (Doubles{-0.25 * d1, d1}));
}

TEST(BSplineCoefficients, OfAConstantAreNotConstantNearTheEnds) {
  const Doubles q = coefficients1D(Doubles(20, 1.0));
  EXPECT_GT(q[0], 1.1);
  EXPECT_GT(q[19], 1.1);
  EXPECT_NEAR(q[10], 1.0, 1e-4);
}

TEST(BSplineCoefficients, InPlaceAndOutOfPlaceAgree) {
  Random random(2);
  for (const glm::ivec3 d : testSizes()) {
    Doubles samples = random.doubles(d.x * d.y * d.z, -9, 9);
    const Doubles before = samples;
    const Doubles q = coefficients3D(samples, d);
    EXPECT_EQ(samples, before);
    Doubles data = samples;
    convertToBSplineCoeff3D(data.data(), d.x, d.y, d.z);
    EXPECT_TRUE(same(data, q));
    Doubles plane(samples.begin(), samples.begin() + d.x * d.y), planeOut(plane.size());
    computeBSplineCoeff2D(plane.data(), d.x, d.y, planeOut.data());
    convertToBSplineCoeff2D(plane.data(), d.x, d.y);
    EXPECT_TRUE(same(plane, planeOut));
    Doubles line(samples.begin(), samples.begin() + d.x), lineOut(line.size());
    computeBSplineCoeff1D(line.data(), d.x, lineOut.data());
    computeBSplineCoeff1D(line.data(), d.x, line.data());
    EXPECT_TRUE(same(line, lineOut));
  }
}

TEST(BSplineCoefficients, AgreeWithTheReference) {
  Random random(3);
  for (const glm::ivec3 d : testSizes()) {
    SCOPED_TRACE(testing::Message() << d.x << "x" << d.y << "x" << d.z);
    Doubles samples = random.doubles(d.x * d.y * d.z, -1000, 1000);
    for (const bool odd : {false, true}) {
      if (odd) {
        samples[static_cast<std::size_t>(random.below(d.x * d.y * d.z))] = nan;
        samples[static_cast<std::size_t>(random.below(d.x * d.y * d.z))] = inf;
      }
      Doubles expected(count(d), -1.0), actual(count(d), -2.0);
      computeBSplineCoeff3D(samples.data(), d.x, d.y, d.z, actual.data());
      reference::computeBSplineCoeff3D(samples.data(), d.x, d.y, d.z, expected.data());
      EXPECT_TRUE(same(actual, expected)) << "3-D";
      const int n = d.x * d.y;
      actual.assign(static_cast<std::size_t>(n), -1.0);
      expected.assign(static_cast<std::size_t>(n), -2.0);
      computeBSplineCoeff2D(samples.data(), d.x, d.y, actual.data());
      reference::computeBSplineCoeff2D(samples.data(), d.x, d.y, expected.data());
      EXPECT_TRUE(same(actual, expected)) << "2-D";
      computeBSplineCoeff1D(samples.data(), n, actual.data());
      reference::computeBSplineCoeff1D(samples.data(), n, expected.data());
      EXPECT_TRUE(same(actual, expected)) << "1-D";
    }
  }
}

TEST(BSplineEvaluation, ReturnsTheSamplesAtWholePositionsBordersIncluded) {
  Random random(4);
  const glm::ivec3 d(5, 7, 4);
  Doubles f = random.doubles(5 * 7 * 4, -100, 100);
  Doubles q = coefficients3D(f, d);
  for (int z = 0; z < d.z; ++z)
    for (int y = 0; y < d.y; ++y)
      for (int x = 0; x < d.x; ++x) {
        double px = x, py = y, pz = z, value = 0;
        evalBSpline3D(q.data(), d.x, d.y, d.z, &px, &py, &pz, 1, &value);
        EXPECT_NEAR(value, f[static_cast<std::size_t>((z * d.y + y) * d.x + x)], 1e-11);
      }
  const Doubles line = random.doubles(12, -100, 100);
  for (int i = 0; i < 12; ++i)
    EXPECT_NEAR(valueAt(coefficients1D(line), i), line[static_cast<std::size_t>(i)], 1e-11);
}

TEST(BSplineEvaluation, WeighsTheTapsAtAWholePositionByOneFourOne) {
  // An impulse of coefficients read at the whole positions around it.
  const Doubles q{0, 0, 0, 6, 0, 0, 0};
  EXPECT_EQ(valueAt(q, 1), 0);
  EXPECT_NEAR(valueAt(q, 2), 1, 1e-15);
  EXPECT_NEAR(valueAt(q, 3), 4, 1e-15);
  EXPECT_NEAR(valueAt(q, 4), 1, 1e-15);
  EXPECT_EQ(valueAt(q, 5), 0);
  Doubles p = q;
  for (const auto& [x, expected] : {std::pair(2.0, 3.0), {3.0, 0.0}, {4.0, -3.0}, {5.0, 0.0}}) {
    double position = x, value = 0, gradient = -1;
    evalBSplineAndGrad1D(p.data(), 7, &position, 1, &value, &gradient);
    EXPECT_NEAR(gradient, expected, 1e-14) << "derivative at " << x;
  }
}

TEST(BSplineEvaluation, IsSymmetricAboutAnImpulse) {
  const Doubles q{0, 0, 0, 0, 1, 0, 0, 0, 0};
  for (double t = 0; t < 3; t += 0.09375) EXPECT_NEAR(valueAt(q, 4 + t), valueAt(q, 4 - t), 1e-15);
}

TEST(BSplineEvaluation, ReproducesCubicCoefficientsFarFromTheEnds) {
  // The spline of linear coefficients is the same line, its derivative the slope.
  Doubles q;
  for (int i = 0; i < 10; ++i) q.push_back(3.0 * i - 2);
  for (double x = 1; x <= 7; x += 0.37) {
    double position = x, value = 0, gradient = 0;
    evalBSplineAndGrad1D(q.data(), 10, &position, 1, &value, &gradient);
    EXPECT_NEAR(value, 3 * x - 2, 1e-13);
    EXPECT_NEAR(gradient, 3, 1e-13);
  }
}

TEST(BSplineEvaluation, OfAConstantDecaysTowardZeroBeyondTheBorder) {
  const Doubles q = coefficients1D(Doubles(12, 10.0));
  EXPECT_NEAR(valueAt(q, 5.5), 10, 0.01);
  EXPECT_LT(std::abs(valueAt(q, -1.0)), 3);
  EXPECT_LT(std::abs(valueAt(q, -1.5)), std::abs(valueAt(q, -1.0)));
  EXPECT_LT(std::abs(valueAt(q, 12.5)), std::abs(valueAt(q, 12.0)));
  EXPECT_NE(valueAt(q, -1.9), 0);
  EXPECT_NE(valueAt(q, 12.9), 0);
}

TEST(BSplineEvaluation, IsZeroTwoSamplesBeyondTheBorderAndForPositionsThatNoIndexHolds) {
  Doubles q(4 * 4 * 4, 3.0);
  for (const double bad : {-2.0, -3.5, 5.0, 7.25, nan, inf, -inf, 1e300, -1e300, 3e9})
    for (int axis = 0; axis < 3; ++axis) {
      double p[3] = {1.5, 1.5, 1.5};
      p[axis] = bad;
      Results r(1);
      evalBSplineAndGrad3D(q.data(), 4, 4, 4, &p[0], &p[1], &p[2], 1, r.value.data(),
                           r.gradX.data(), r.gradY.data(), r.gradZ.data());
      expectSame(r, [] {
        Results zero(1);
        zero.value[0] = zero.gradX[0] = zero.gradY[0] = zero.gradZ[0] = 0;
        return zero;
      }());
    }
}

TEST(BSplineEvaluation, GradientsAreTheSlopesOfTheValue) {
  Random random(5);
  const glm::ivec3 d(6, 5, 7);
  Doubles q = random.doubles(6 * 5 * 7, -10, 10);
  const double h = 1e-6;
  for (int k = 0; k < 50; ++k) {
    double p[3] = {random.uniform(-1.0, 6.0), random.uniform(-1.0, 5.0), random.uniform(-1.0, 7.0)};
    Results r(1);
    evalBSplineAndGrad3D(q.data(), d.x, d.y, d.z, &p[0], &p[1], &p[2], 1, r.value.data(),
                         r.gradX.data(), r.gradY.data(), r.gradZ.data());
    const double gradient[3] = {r.gradX[0], r.gradY[0], r.gradZ[0]};
    for (int axis = 0; axis < 3; ++axis) {
      double low[3] = {p[0], p[1], p[2]}, high[3] = {p[0], p[1], p[2]}, a = 0, b = 0;
      low[axis] -= h;
      high[axis] += h;
      evalBSpline3D(q.data(), d.x, d.y, d.z, &low[0], &low[1], &low[2], 1, &a);
      evalBSpline3D(q.data(), d.x, d.y, d.z, &high[0], &high[1], &high[2], 1, &b);
      // Central difference: h^2 times a third derivative of some tens, plus rounding 1e-15/h.
      EXPECT_NEAR((b - a) / (2 * h), gradient[axis], 1e-6);
    }
  }
}

class BSplineAgainstReference : public testing::TestWithParam<glm::ivec3> {};

TEST_P(BSplineAgainstReference, Evaluation) {
  const glm::ivec3 d = GetParam();
  Random random(6);
  const int m = 400;
  const std::size_t ms = m;
  Doubles q = random.doubles(d.x * d.y * d.z, -1000, 1000);
  for (const bool odd : {false, true}) {
    if (odd) {
      q[static_cast<std::size_t>(random.below(d.x * d.y * d.z))] = nan;
      q[static_cast<std::size_t>(random.below(d.x * d.y * d.z))] = inf;
    }
    Doubles x = positions(random, d.x, m), y = positions(random, d.y, m),
            z = positions(random, d.z, m);
    for (int i = 0; i < m; i += 3) {  // as a displacement map uses it: x and z on the grid
      x[static_cast<std::size_t>(i)] = random.below(d.x);
      z[static_cast<std::size_t>(i)] = random.below(d.z);
    }
    Results a(ms), b(ms), c(ms), e(ms), f(ms), g(ms);
    evalBSplineAndGrad3D(q.data(), d.x, d.y, d.z, x.data(), y.data(), z.data(), m, a.value.data(),
                         a.gradX.data(), a.gradY.data(), a.gradZ.data());
    reference::evalBSplineAndGrad3D(q.data(), d.x, d.y, d.z, x.data(), y.data(), z.data(), m,
                                    b.value.data(), b.gradX.data(), b.gradY.data(), b.gradZ.data());
    expectSame(a, b);
    Doubles values(ms, -7.0);
    evalBSpline3D(q.data(), d.x, d.y, d.z, x.data(), y.data(), z.data(), m, values.data());
    EXPECT_TRUE(same(values, b.value)) << "3-D value alone";

    evalBSplineAndGrad2D(q.data(), d.x, d.y, x.data(), y.data(), m, c.value.data(), c.gradX.data(),
                         c.gradY.data());
    reference::evalBSplineAndGrad2D(q.data(), d.x, d.y, x.data(), y.data(), m, e.value.data(),
                                    e.gradX.data(), e.gradY.data());
    expectSame(c, e);
    evalBSpline2D(q.data(), d.x, d.y, x.data(), y.data(), m, values.data());
    EXPECT_TRUE(same(values, e.value)) << "2-D value alone";

    evalBSplineAndGrad1D(q.data(), d.y, y.data(), m, f.value.data(), f.gradX.data());
    reference::evalBSplineAndGrad1D(q.data(), d.y, y.data(), m, g.value.data(), g.gradX.data());
    expectSame(f, g);
    evalBSpline1D(q.data(), d.y, y.data(), m, values.data());
    EXPECT_TRUE(same(values, g.value)) << "1-D value alone";
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, BSplineAgainstReference, testing::ValuesIn(testSizes()));

}  // namespace

}  // namespace mirel
