#pragma once

#include "containers/volume.h"
#include "masspreserving/massmodel.h"
#include "masspreserving/roughness.h"

namespace mirel {

/// The barrier that keeps a voxel's stretch d = b_(j+1) - b_j within (-1, 1):
/// d^4 / (1 - d^2), infinite outside. It is flat at 0, where fields live, and convex.
struct Barrier {
  double value, first, second;
  explicit Barrier(double d);
};

/// What the estimated displacement b (at edges, see MassModel) minimises:
///
///   E(b) = 1/2 sum_j weight_j r_j(b)^2  +  sum_j barrier(b_(j+1) - b_j)  +  1/2 b' R b
///
/// summed over all columns, R the roughness form. `weight` is the inverse noise variance of a
/// residual (0 where an image does not reach), so E is in units of the noise.
template <typename Real>
class Objective {
 public:
  Objective(const MassModel<Real>& model, const Roughness<Real>& roughness);

  /// Inverse variances of the residuals, one per voxel; 1 at first.
  Volume<Real> weight;

  /// E(b); infinite if a |stretch| reaches 1.
  double value(const Volume<Real>& b);

  /// E(b) and its gradient; keeps what `product` and `LineSolver` need of b.
  double linearise(const Volume<Real>& b, Volume<Real>& gradient);

  /// out = H v at the last linearisation: J' W J of the residuals (Gauss-Newton) and the exact
  /// second derivatives of barrier and roughness.
  void product(const Volume<Real>& v, Volume<Real>& out);
  /// The part of `product` that comes from the residuals alone.
  void dataProduct(const Volume<Real>& v, Volume<Real>& out) const;
  /// out = J' W v: how a change v of the residuals (voxels) changes the gradient (edges).
  void gradientOf(const Volume<Real>& v, Volume<Real>& out) const;

  void setRoughness(const Roughness<Real>& form) { roughness = form; }
  const Roughness<Real>& roughnessForm() const { return roughness; }
  /// Residuals and slopes of the last call to `value` or `linearise`.
  const Volume<Real>& residuals() const { return residual; }
  const Volume<Real>& slopes() const { return slope; }
  /// Tridiagonal blocks along y of residuals and barrier: entries (j, j) and (j, j + 1).
  const Volume<Real>& blockDiagonal() const { return diagonal; }
  const Volume<Real>& blockNext() const { return next; }

 private:
  double addDataTerms(const Volume<Real>& b, Volume<Real>* gradient);

  const MassModel<Real>& model;
  Roughness<Real> roughness;
  Volume<Real> residual, slope, diagonal, next, scratch, rough;
};

/// Sum of products in double, row after row, with a fixed order.
template <typename Real>
double dot(const Volume<Real>& a, const Volume<Real>& b);

extern template class Objective<float>;
extern template class Objective<double>;

}  // namespace mirel
