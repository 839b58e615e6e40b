#pragma once

#include <vector>

#include "containers/volume.h"
#include "masspreserving/conjugategradients.h"
#include "masspreserving/roughness.h"
#include "simd/variant.h"

namespace mirel {

/// Solves, for each column along y on its own, the symmetric positive definite system with the
/// five bands of a roughness form plus a tridiagonal block (entries (j, j) and (j, j + 1)): the
/// block-Jacobi part of a Hessian, exact along y. Factored as L D L' without pivoting. Factors of
/// the bending are taken as they are at its two ends, half of their logarithm from each.
template <typename Real>
class LineSolver {
 public:
  LineSolver(const Roughness<Real>& roughness, const Volume<Real>& blockDiagonal,
             const Volume<Real>& blockNext);

  /// out = M^-1 v, slice by slice; in parallel as the roughness is.
  void solve(const Volume<Real>& v, Volume<Real>& out) const;
  SliceMap<Real> asMap() const;

 private:
  struct Bands {
    typename Roughness<Real>::BandRow gradient, bending;
  };
  void factor(int z, const std::vector<Bands>& bands, const Volume<Real>* bendingFactors,
              const Volume<Real>& blockDiagonal, const Volume<Real>& blockNext);
  void solve(const Volume<Real>& v, Volume<Real>& out, int from, int to) const;

  Parallel parallel;
  SimdVariant variant = chosenVariant();
  Volume<Real> inversePivot, lower1, lower2;
};

/// `conjugateGradients` and `improveSolution` with these columns as the preconditioner.
template <typename Real>
SolveResult conjugateGradients(const LinearMap<Real>& product,
                               const LineSolver<Real>& preconditioner, const Volume<Real>& rhs,
                               Volume<Real>& x, double tolerance, int maxIterations);
template <typename Real>
SolveResult improveSolution(const LinearMap<Real>& product, const LineSolver<Real>& preconditioner,
                            const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                            int maxIterations);

extern template class LineSolver<float>;
extern template class LineSolver<double>;

}  // namespace mirel
