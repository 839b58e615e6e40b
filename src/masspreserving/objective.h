#pragma once

#include <vector>

#include "containers/volume.h"
#include "masspreserving/massmodel.h"
#include "masspreserving/ratiofit.h"
#include "masspreserving/roughness.h"

namespace mirel {

/// The barrier that keeps a voxel's stretch d = b_(j+1) - b_j within (-1, 1):
/// d^4 / (1 - d^2), infinite outside. It is flat at 0, where fields live, and convex.
struct Barrier {
  double value, first, second;
  explicit Barrier(double d);
};

/// What interpolation leaves of the variance of white noise in a voxel that is displaced by s:
/// 1 - missing. At half voxels 0.302 are missing; 0.302 (4 u (1 - u))^2, u = |s - round(s)|, is
/// within 0.01 of what the parabolas of ColumnIntegral leave elsewhere.
struct AveragedNoise {
  double missing, slope;  ///< and its derivative
  explicit AveragedNoise(double s);
};

/// What the estimated displacement b (at edges, see MassModel) minimises:
///
///   E(b) = 1/2 sum_j weight_j r_j(b)^2  +  sum_j barrier(b_(j+1) - b_j)
///          +  1/2 (b - m)' R (b - m)  +  1/2 sum_j weight_j n missing(s_j)
///
/// with the prior's mean m, 0 unless it is known, and c'Pc / 2 of the coefficients c of the images'
/// ratio of intensities if that is estimated
/// (`ratio`), summed over all columns, R the roughness form. The last sum takes off what the
/// squared residuals are expected to hold of noise of variance n, but for a constant: they are
/// least where displacements s_j = (b_j + b_(j+1)) / 2 lie between voxels, whatever the images
/// show. Where the mean of both images is exactly 0 (air that was set to 0, padding) there is no
/// noise. `weight` is the inverse noise variance of a residual (0 where an image does not reach),
/// so E is in units of the noise.
template <typename Real>
class Objective {
 public:
  /// The slices of all that follows are done as the model's are.
  Objective(const MassModel<Real>& model, const Roughness<Real>& roughness);

  /// Inverse variances of the residuals, one per voxel; 1 at first.
  Volume<Real> weight;
  /// The ratio of intensities; null: 1. `linearise` and `product` are then those of E with the
  /// ratio's coefficients at their best for each b (eliminated, see RatioFit).
  RatioFit<Real>* ratio = nullptr;

  /// n: the variance of the residuals' noise where s is whole; 0: nothing is taken off.
  double noiseVariance = 0.0;

  /// m at the edges; empty: 0.
  Volume<Real> priorMean;

  /// E(b); infinite if a |stretch| reaches 1.
  double value(const Volume<Real>& b);

  /// The residuals, their slopes and the mean at b, without E.
  void evaluate(const Volume<Real>& b);

  /// E(b) and its gradient (with c following b); keeps what `product` and `LineSolver` need of b.
  double linearise(const Volume<Real>& b, Volume<Real>& gradient);
  /// The same where the last call of `value` or `evaluate` was at this b, with this ratio.
  double lineariseEvaluated(const Volume<Real>& b, Volume<Real>& gradient);

  /// out = H v at the last linearisation: J' W J of the residuals (Gauss-Newton) and the exact
  /// second derivatives of barrier and roughness, with the ratio eliminated.
  void product(const Volume<Real>& v, Volume<Real>& out);
  /// out = J v: the change of the residuals (voxels) with b (edges).
  void residualChange(const Volume<Real>& v, Volume<Real>& out) const;
  const Parallel& inParallel() const { return model.inParallel(); }
  /// The part of `product` that comes from the residuals alone.
  void dataProduct(const Volume<Real>& v, Volume<Real>& out) const;
  /// out = J' W v: how a change v of the residuals (voxels) changes the gradient (edges).
  void gradientOf(const Volume<Real>& v, Volume<Real>& out) const;

  /// Takes from a change v of the residuals (voxels) what a change of the ratio makes up for, at
  /// the last linearisation: J'W of the rest is the eliminated gradient's change.
  void takeRatioFrom(Volume<Real>& v) const;
  /// The residuals with the ratio at its best for small changes.
  Volume<Real> residualsBesideRatio() const;

  /// (b - m)' F (b - m) of another form F than R.
  double roughnessOf(const Volume<Real>& b, const Roughness<Real>& form);
  void setRoughness(const Roughness<Real>& form) { roughness = form; }
  const Roughness<Real>& roughnessForm() const { return roughness; }
  /// Residuals of the last call to `value`, `evaluate` or `linearise`, their slopes at the voxels'
  /// lower and upper edges, and the mean of the two corrected images.
  const Volume<Real>& residuals() const { return residual; }
  const Volume<Real>& lowSlopes() const { return low; }
  const Volume<Real>& highSlopes() const { return high; }
  const Volume<Real>& means() const { return mean; }
  /// The slopes with the two corrected images' difference in place of their sum, at b.
  void differenceSlopes(const Volume<Real>& b, Volume<Real>& atLow, Volume<Real>& atHigh) const;
  /// Takes other slopes for H at the last linearisation, which was at b.
  void setSlopes(const Volume<Real>& b, Volume<Real> atLow, Volume<Real> atHigh);
  /// Tridiagonal blocks along y of residuals and barrier: entries (j, j) and (j, j + 1).
  const Volume<Real>& blockDiagonal() const { return diagonal; }
  const Volume<Real>& blockNext() const { return next; }

 private:
  double addDataTerms(const Volume<Real>& b, Volume<Real>* gradient);
  void addDataTermsOf(int z, const Volume<Real>& b, Volume<Real>* gradient, double* ofRows);
  void addBlocks(int z, const Volume<Real>& v, Volume<Real>& out) const;
  bool eliminates() const { return ratio != nullptr; }
  void addGradientOf(const Volume<Real>& v, Volume<Real>& out) const;
  double valueOfPriors(const Volume<Real>& b);

  const MassModel<Real>& model;
  Roughness<Real> roughness;
  Volume<Real> residual, low, high, mean, diagonal, next, scratch, rough, voxelScratch;
};

/// Sum in the order of the values.
double sumOf(const std::vector<double>& values);

/// Sum of products in double, row after row, with a fixed order (`dotsOfRows`).
template <typename Real>
double dot(const Volume<Real>& a, const Volume<Real>& b, const Parallel& parallel = {});

extern template class Objective<float>;
extern template class Objective<double>;

}  // namespace mirel
