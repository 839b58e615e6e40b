#pragma once

#include <functional>

#include "containers/volume.h"
#include "masspreserving/roughness.h"

namespace mirel {

/// Solves, for each column along y on its own, the symmetric positive definite system with the
/// five bands of a roughness form plus a tridiagonal block (entries (j, j) and (j, j + 1)): the
/// block-Jacobi part of a Hessian, exact along y. Factored as L D L' without pivoting.
template <typename Real>
class LineSolver {
 public:
  LineSolver(const Roughness<Real>& roughness, const Volume<Real>& blockDiagonal,
             const Volume<Real>& blockNext);

  /// out = M^-1 v.
  void solve(const Volume<Real>& v, Volume<Real>& out) const;

 private:
  Volume<Real> inversePivot, lower1, lower2;
};

/// Outcome of `conjugateGradients`.
struct SolveResult {
  int iterations;
  double relativeResidual;  ///< in the norm of the preconditioner
};

/// Preconditioned conjugate gradients for H x = rhs from x = 0. `product(v, out)` is H v.
/// Ends when the residual's preconditioned norm is at most `tolerance` times that of rhs, after
/// `maxIterations`, or where rounding leaves no descent.
template <typename Real>
SolveResult conjugateGradients(
    const std::function<void(const Volume<Real>&, Volume<Real>&)>& product,
    const LineSolver<Real>& preconditioner, const Volume<Real>& rhs, Volume<Real>& x,
    double tolerance, int maxIterations);

/// The same from the x that is given, with the tolerance relative to rhs as well; x = 0 for a rhs
/// of 0.
template <typename Real>
SolveResult improveSolution(const std::function<void(const Volume<Real>&, Volume<Real>&)>& product,
                            const LineSolver<Real>& preconditioner, const Volume<Real>& rhs,
                            Volume<Real>& x, double tolerance, int maxIterations);

extern template class LineSolver<float>;
extern template class LineSolver<double>;

}  // namespace mirel
