#pragma once

#include <Eigen/Cholesky>
#include <Eigen/Core>

#include "containers/volume.h"
#include "masspreserving/ratiobasis.h"

namespace mirel {

/// What is known of the ratio of intensities, for all resolutions alike.
struct RatioKnowledge {
  Eigen::VectorXd coefficients;  ///< of log ratio; nodes, then knots
  double shapeWeight = 0.0;      ///< prior precision of the nodes' roughness
  double knotWeight = 0.0;       ///< and of the knots'
};

/// The ratio of intensities between the images, estimated along with the displacement b and
/// eliminated from its equations. With the residuals' derivatives J by b and D = -mean * functions
/// by the coefficients c, weights W and the prior precision P of c,
///
///   A = D'WD + P,   C = D'WJ,   H_b -> H_b - C' A^-1 C,   dc = -A^-1 (g_c + C db).
template <typename Real>
class RatioFit {
 public:
  RatioFit(RatioBasis<Real> basis, RatioKnowledge known);

  const RatioKnowledge& knowledge() const { return known; }
  void setWeights(double shapeWeight, double knotWeight);
  void setCoefficients(const Eigen::VectorXd& c);
  /// Of the functions (RatioBasis::setIntensities). Where noise hides the signal nothing holds the
  /// coefficients; if with less of it the ratio leaves its bounds, they begin again at 0.
  void setIntensities(const Volume<Real>& mean, double noiseVariance);

  /// Whether the ratio is one: between 1/100 and 100 at every voxel.
  bool isWithinBounds() const { return within; }

  /// f = exp(log ratio / 2) at the voxels.
  const Volume<Real>& root() const { return ratioRoot; }
  const Volume<Real>& inverseRoot() const { return inverse; }
  /// c'Pc / 2.
  double priorEnergy() const;

  /// How far the logarithm of the ratio varies: its standard deviation over the voxels, weighted
  /// with the squares of `mean`.
  double spread(const Volume<Real>& mean) const;

  /// Takes A and the gradient g_c from weights, residuals and means (voxels).
  void linearise(const Volume<Real>& weight, const Volume<Real>& residual,
                 const Volume<Real>& mean);
  /// A^-1 v, after `linearise`.
  Eigen::VectorXd solve(const Eigen::VectorXd& v) const { return factor.solve(v); }
  const Eigen::VectorXd& gradient() const { return slope; }
  /// D'W v of a change v of the residuals.
  Eigen::VectorXd weighted(const Volume<Real>& v) const;
  /// D c: the change of the residuals with c.
  void change(const Eigen::VectorXd& c, Volume<Real>& v) const;

  /// P times c for a unit weight of the nodes or of the knots, padded with zeros.
  Eigen::VectorXd shapeRoughness(const Eigen::VectorXd& c) const;
  Eigen::VectorXd knotRoughness(const Eigen::VectorXd& c) const;
  int shapes() const { return basis.shapes(); }
  int knots() const { return basis.size() - basis.shapes(); }

 private:
  Eigen::MatrixXd prior() const;
  void updateRoot();

  RatioBasis<Real> basis;
  RatioKnowledge known;
  Eigen::MatrixXd shapeForm, knotForm;
  Volume<Real> ratioRoot, inverse, meanNow, weightedMean;
  mutable Volume<Real> scratch;
  Eigen::LLT<Eigen::MatrixXd> factor;
  Eigen::VectorXd slope;
  bool within = true;
};

extern template class RatioFit<float>;
extern template class RatioFit<double>;

}  // namespace mirel
