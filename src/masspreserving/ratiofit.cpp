#include "masspreserving/ratiofit.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <utility>

namespace mirel {

namespace {

// Relative to the prior's unit: keeps what nothing determines (a constant that nodes and knots
// share, nodes without signal) at 0.
constexpr double ridge = 1e-3;

// Log of the largest ratio that is one, a hundred; those of good pairs are within 8.
constexpr double largestLog = 4.605;

}  // namespace

template <typename Real>
RatioFit<Real>::RatioFit(RatioBasis<Real> functions, RatioKnowledge knowledge)
    : basis(std::move(functions)),
      known(std::move(knowledge)),
      shapeForm(basis.shapeRoughness().asDiagonal()),
      knotForm(basis.knotRoughness()) {
  shapeForm.diagonal().array() += ridge * ridge;
  knotForm.diagonal().array() += ridge;
  if (known.coefficients.size() != basis.size())
    known.coefficients = Eigen::VectorXd::Zero(basis.size());
}

template <typename Real>
void RatioFit<Real>::setWeights(double shapeWeight, double knotWeight) {
  known.shapeWeight = shapeWeight;
  known.knotWeight = knotWeight;
}

template <typename Real>
void RatioFit<Real>::updateRoot() {
  basis.expand(known.coefficients, ratioRoot);
  std::atomic<bool> isWithin{true};
  inElements(basis.inParallel(), ratioRoot.size(), [&](int from, int to) {
    int beyond = 0;
    for (int i = from; i < to; ++i) {
      const Real half = Real(0.5) * ratioRoot.data()[i];
      beyond += static_cast<int>(!(std::abs(half) <= static_cast<Real>(0.5 * largestLog)));
      ratioRoot.data()[i] = std::exp(half);
      inverse.data()[i] = std::exp(-half);
    }
    if (beyond > 0) isWithin = false;
  });
  within = isWithin;
}

template <typename Real>
void RatioFit<Real>::setCoefficients(const Eigen::VectorXd& c) {
  known.coefficients = c;
  updateRoot();
}

template <typename Real>
void RatioFit<Real>::setIntensities(const Volume<Real>& mean, double noiseVariance) {
  if (ratioRoot.size() != mean.size())
    ratioRoot = inverse = scratch = Volume<Real>(mean.dimensions());
  basis.setIntensities(mean, noiseVariance);
  updateRoot();
  if (within) return;
  known.coefficients.setZero();
  updateRoot();
}

template <typename Real>
Eigen::MatrixXd RatioFit<Real>::prior() const {
  Eigen::MatrixXd p = Eigen::MatrixXd::Zero(basis.size(), basis.size());
  p.topLeftCorner(shapes(), shapes()) = known.shapeWeight * shapeForm;
  p.bottomRightCorner(knots(), knots()) = known.knotWeight * knotForm;
  return p;
}

template <typename Real>
Eigen::VectorXd RatioFit<Real>::shapeRoughness(const Eigen::VectorXd& c) const {
  Eigen::VectorXd result = Eigen::VectorXd::Zero(basis.size());
  result.head(shapes()) = shapeForm * c.head(shapes());
  return result;
}

template <typename Real>
Eigen::VectorXd RatioFit<Real>::knotRoughness(const Eigen::VectorXd& c) const {
  Eigen::VectorXd result = Eigen::VectorXd::Zero(basis.size());
  result.tail(knots()) = knotForm * c.tail(knots());
  return result;
}

template <typename Real>
double RatioFit<Real>::priorEnergy() const {
  const Eigen::VectorXd& c = known.coefficients;
  return 0.5 * (known.shapeWeight * c.dot(shapeRoughness(c)) +
                known.knotWeight * c.dot(knotRoughness(c)));
}

template <typename Real>
double RatioFit<Real>::spread(const Volume<Real>& mean) const {
  double total = 0.0, sum = 0.0, squares = 0.0;
  for (int i = 0; i < mean.size(); ++i) {
    const double t = mean.data()[i], w = t * t;
    const double a = 2.0 * std::log(static_cast<double>(ratioRoot.data()[i]));
    total += w;
    sum += w * a;
    squares += w * a * a;
  }
  return total > 0.0 ? std::sqrt(std::max(squares / total - sum * sum / (total * total), 0.0))
                     : 0.0;
}

template <typename Real>
void RatioFit<Real>::linearise(const Volume<Real>& weight, const Volume<Real>& residual,
                               const Volume<Real>& mean) {
  meanNow = mean;
  weightedMean = weight * mean;
  factor.compute(basis.gram(weightedMean * mean) + prior());
  slope = weighted(residual) + known.shapeWeight * shapeRoughness(known.coefficients) +
          known.knotWeight * knotRoughness(known.coefficients);
}

template <typename Real>
Eigen::VectorXd RatioFit<Real>::weighted(const Volume<Real>& v) const {
  inElements(basis.inParallel(), v.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) scratch.data()[i] = weightedMean.data()[i] * v.data()[i];
  });
  return -basis.project(scratch);
}

template <typename Real>
void RatioFit<Real>::change(const Eigen::VectorXd& c, Volume<Real>& v) const {
  basis.expand(c, v);
  inElements(basis.inParallel(), v.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) v.data()[i] *= -meanNow.data()[i];
  });
}

template class RatioFit<float>;
template class RatioFit<double>;

}  // namespace mirel
