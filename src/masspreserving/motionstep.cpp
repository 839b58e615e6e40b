#include "masspreserving/motionstep.h"

#include <Eigen/Cholesky>
#include <algorithm>
#include <array>
#include <cstddef>
#include <glm/geometric.hpp>
#include <numbers>
#include <utility>

#include "masspreserving/massmodel.h"
#include "numerics/difference.h"

namespace mirel {

namespace {

constexpr double degree = std::numbers::pi / 180.0;

MotionVector priorPrecision() {
  const double translation = 1.0 / (10.0 * 10.0), rotation = 1.0 / (10.0 * degree * 10.0 * degree);
  return {translation, translation, rotation, rotation, rotation};
}

constexpr int blocksPerAxis = 4;
constexpr std::size_t blockCount = std::size_t{blocksPerAxis} * blocksPerAxis * blocksPerAxis;

// Scatter of w r (D - J Z), summed over each block: the contributions to the gradient along the
// path on which b follows the motion.
MotionMatrix blockScatter(const Objective<float>& objective,
                          const std::array<Volume<float>, motionParameters>& derivatives,
                          const MotionResponse& response) {
  const Volume<float>& r = objective.residuals();
  const Volume<float>& lows = objective.lowSlopes();
  const Volume<float>& highs = objective.highSlopes();
  const glm::ivec3 size = r.dimensions();
  std::array<MotionVector, blockCount> sums;
  const auto bound = [](int block, int n) { return block * n / blocksPerAxis; };
  inRanges(objective.inParallel(), static_cast<int>(sums.size()), 1, [&](int block, int) {
    const glm::ivec3 at(block % blocksPerAxis, block / blocksPerAxis % blocksPerAxis,
                        block / (blocksPerAxis * blocksPerAxis));
    MotionVector sum = MotionVector::Zero();
    for (int z = bound(at.z, size.z); z < bound(at.z + 1, size.z); ++z)
      for (int y = bound(at.y, size.y); y < bound(at.y + 1, size.y); ++y)
        for (int x = bound(at.x, size.x); x < bound(at.x + 1, size.x); ++x) {
          const double weighted = static_cast<double>(objective.weight.at(x, y, z)) * r.at(x, y, z);
          const double low = lows.at(x, y, z), high = highs.at(x, y, z);
          for (std::size_t p = 0; p < motionParameters; ++p)
            sum[static_cast<int>(p)] +=
                weighted * (static_cast<double>(derivatives[p].at(x, y, z)) -
                            high * response[p].at(x, y + 1, z) + low * response[p].at(x, y, z));
        }
    sums[static_cast<std::size_t>(block)] = sum;
  });
  MotionMatrix scatter = MotionMatrix::Zero();
  for (const MotionVector& sum : sums) scatter += sum * sum.transpose();
  return scatter;
}

// Slopes of the corrected image along the scanner's axes, per mm.
class Slopes {
 public:
  Slopes(const Volume<float>& image, const Volume<float>& b, float sign, const GridPlace& place,
         const Parallel& parallel) {
    for (int axis = 0; axis < 3; ++axis) {
      const ColumnIntegral<float> integral(slopeAlong(image, axis, place.voxelMm[axis], parallel),
                                           parallel);
      along[axis] = Volume<float>(image.dimensions());
      correctAlong(integral, b, sign, along[axis], parallel);
    }
  }
  glm::dvec3 at(int i) const {
    return {along[0].data()[i], along[1].data()[i], along[2].data()[i]};
  }

 private:
  Volume<float> along[3];
};

Volume<float> product(const Volume<float>& a, const Volume<float>& b, const Parallel& parallel) {
  Volume<float> result(a.dimensions());
  inElements(parallel, a.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) result.data()[i] = a.data()[i] * b.data()[i];
  });
  return result;
}

}  // namespace

glm::dvec3 translationOf(const MotionVector& p) { return {p[0], 0.0, p[1]}; }
glm::dvec3 rotationOf(const MotionVector& p) { return {p[2], p[3], p[4]}; }

MotionVector parametersOf(const RigidMotion& motion) {
  const glm::dvec3 angles = motion.rotationDegrees * degree;
  return {motion.translationMm.x, motion.translationMm.z, angles.x, angles.y, angles.z};
}

HalfWayPair::HalfWayPair(MovedImage& firstMoved, MovedImage& secondMoved, const RigidMotion& motion,
                         const Volume<float>& b)
    : toFirst(motion.half().inverse()), toSecond(motion.half()) {
  MovedImage::Unmoved one = firstMoved.unmoved(toFirst, b, 1.0);
  MovedImage::Unmoved other = secondMoved.unmoved(toSecond, b, -1.0);
  first = std::move(one.image);
  firstKnown = std::move(one.covered);
  second = std::move(other.image);
  secondKnown = std::move(other.covered);
}

HalfWayPair::HalfWayPair(Volume<float> one, Volume<float> other)
    : first(std::move(one)),
      second(std::move(other)),
      firstKnown(first.dimensions(), 1),
      secondKnown(second.dimensions(), 1) {}

std::array<Volume<float>, motionParameters> motionDerivatives(const HalfWayPair& pair,
                                                              const Volume<float>& b,
                                                              const GridPlace& place,
                                                              const Parallel& parallel) {
  const Slopes first(pair.first, b, 1.0F, place, parallel),
      second(pair.second, b, -1.0F, place, parallel);
  const glm::dmat3 r1 = pair.toFirst.rotation(), r2 = pair.toSecond.rotation();
  std::array<Volume<float>, motionParameters> result;
  result.fill(Volume<float>(pair.first.dimensions()));
  inSlices(parallel, pair.first.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z)
      for (int y = 0; y < pair.first.ny(); ++y)
        for (int x = 0; x < pair.first.nx(); ++x) {
          const int i = pair.first.index(x, y, z);
          const glm::dvec3 p = place.positionMm({x, y, z}), g1 = first.at(i), g2 = second.at(i);
          // Half of the change goes to each image. g . (w x p) = w . (p x g).
          const glm::dvec3 shifted = -0.5 * (g1 + g2);
          const glm::dvec3 turned = -0.5 * (glm::cross(r1 * p, g1) + glm::cross(r2 * p, g2));
          const std::array<double, motionParameters> change{shifted.x, shifted.z, turned.x,
                                                            turned.y, turned.z};
          for (std::size_t k = 0; k < change.size(); ++k)
            result[k].data()[i] = static_cast<float>(change[k]);
        }
  });
  return result;
}

MotionStep motionStep(Objective<float>& objective, const LineSolver<float>& lines,
                      const Volume<float>& gradient,
                      const std::array<Volume<float>, motionParameters>& derivatives,
                      const RigidMotion& motion, MotionResponse& response, double tolerance,
                      int maxSolverIterations) {
  const auto hessian = [&](const Volume<float>& v, Volume<float>& out) {
    objective.product(v, out);
  };
  const Parallel& parallel = objective.inParallel();
  // What the ratio of intensities would make up for says nothing about the motion.
  std::array<Volume<float>, motionParameters> beside = derivatives;
  for (Volume<float>& derivative : beside) objective.takeRatioFrom(derivative);
  const Volume<float> residuals = objective.residualsBesideRatio();
  std::array<Volume<float>, motionParameters> coupling, left, weighted;
  MotionStep step;
  MotionVector rhs;
  for (std::size_t p = 0; p < motionParameters; ++p) {
    coupling[p] = Volume<float>(gradient.dimensions());
    left[p] = Volume<float>(gradient.dimensions());
    objective.gradientOf(beside[p], coupling[p]);
    step.solverIterations += improveSolution<float>(hessian, lines, coupling[p], response[p],
                                                    tolerance, maxSolverIterations)
                                 .iterations;
    objective.product(response[p], left[p]);
    left[p] = coupling[p] - left[p];
    weighted[p] = product(objective.weight, derivatives[p], parallel);
    rhs[static_cast<int>(p)] =
        dot(weighted[p], residuals, parallel) - dot(response[p], gradient, parallel);
  }
  // The curvature with b following `response`, which need not be exact.
  for (std::size_t p = 0; p < motionParameters; ++p)
    for (std::size_t q = 0; q < motionParameters; ++q)
      step.precision(static_cast<int>(p), static_cast<int>(q)) =
          dot(weighted[p], beside[q], parallel) - dot(coupling[p], response[q], parallel) -
          dot(response[p], left[q], parallel);
  step.scatter = blockScatter(objective, beside, response);
  const MotionVector prior = priorPrecision();
  step.precision.diagonal() += prior;
  rhs += prior.cwiseProduct(parametersOf(motion));
  step.change = -step.precision.ldlt().solve(rhs);
  if (!step.change.allFinite()) step.change.setZero();
  step.shift = Volume<float>(gradient.dimensions());
  inElements(parallel, step.shift.size(), [&](int from, int to) {
    float* shift = step.shift.data();
    std::fill(shift + from, shift + to, 0.0F);
    for (std::size_t p = 0; p < motionParameters; ++p) {
      const float change = static_cast<float>(step.change[static_cast<int>(p)]);
      for (int i = from; i < to; ++i) shift[i] -= response[p].data()[i] * change;
    }
  });
  return step;
}

double chiSquareOf(const MotionVector& parameters, const MotionStep& step) {
  const MotionVector information = step.precision * parameters;
  const MotionMatrix both = step.scatter + step.precision;
  return information.dot(both.ldlt().solve(information));
}

}  // namespace mirel
