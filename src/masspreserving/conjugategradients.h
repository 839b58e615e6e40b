#pragma once

#include <functional>

#include "containers/volume.h"
#include "numerics/parallel.h"

namespace mirel {

/// out = H v. `out` has the dimensions of v.
template <typename Real>
using LinearMap = std::function<void(const Volume<Real>& v, Volume<Real>& out)>;

/// The slices z = from .. to - 1 of out = M v, of which each depends on the same slice of v alone;
/// `parallel` does them, few at a time.
template <typename Real>
struct SliceMap {
  std::function<void(const Volume<Real>& v, Volume<Real>& out, int from, int to)> slices;
  Parallel parallel;
};

/// Outcome of `conjugateGradients`.
struct SolveResult {
  int iterations;
  double relativeResidual;  ///< in the norm of the preconditioner
};

/// Preconditioned conjugate gradients for H x = rhs from x = 0, H symmetric and positive
/// semidefinite: `product` is H v, `precondition` M^-1 v for an M that is like H. Ends when the
/// residual's preconditioned norm is at most `tolerance` times that of rhs, after `maxIterations`,
/// or where rounding leaves no descent.
template <typename Real>
SolveResult conjugateGradients(const LinearMap<Real>& product, const LinearMap<Real>& precondition,
                               const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                               int maxIterations);

/// The same from the x that is given, with the tolerance relative to rhs as well; x = 0 for a rhs
/// of 0.
template <typename Real>
SolveResult improveSolution(const LinearMap<Real>& product, const LinearMap<Real>& precondition,
                            const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                            int maxIterations);

/// Both with a preconditioner that acts on slices: the same bits as with it as a whole.
template <typename Real>
SolveResult conjugateGradients(const LinearMap<Real>& product, const SliceMap<Real>& precondition,
                               const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                               int maxIterations);
template <typename Real>
SolveResult improveSolution(const LinearMap<Real>& product, const SliceMap<Real>& precondition,
                            const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                            int maxIterations);

}  // namespace mirel
