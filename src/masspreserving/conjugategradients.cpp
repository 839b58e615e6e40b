#include "masspreserving/conjugategradients.h"

#include <algorithm>
#include <cmath>

#include "masspreserving/objective.h"

namespace mirel {

namespace {

// From x with the residual r = rhs - H x; the tolerance is relative to the norm sqrt(reference).
template <typename Real>
SolveResult iterate(const LinearMap<Real>& product, const LinearMap<Real>& precondition,
                    Volume<Real>& r, Volume<Real>& x, double reference, double tolerance,
                    int maxIterations) {
  const int n = r.size();
  Volume<Real> z(r.dimensions(), Real(0)), q(r.dimensions(), Real(0));
  precondition(r, z);
  Volume<Real> p = z;
  double rz = dot(r, z);
  if (reference < 0.0) reference = rz;
  const auto relative = [reference](double square) {
    return reference > 0.0 ? std::sqrt(std::max(square, 0.0) / reference) : 0.0;
  };
  SolveResult result{0, relative(rz)};
  while (rz > 0.0 && result.iterations < maxIterations && result.relativeResidual > tolerance) {
    product(p, q);
    const double curvature = dot(p, q);
    if (!(curvature > 0.0)) break;
    const Real step = static_cast<Real>(rz / curvature);
    for (int i = 0; i < n; ++i) {
      x.data()[i] += step * p.data()[i];
      r.data()[i] -= step * q.data()[i];
    }
    precondition(r, z);
    const double nextRz = dot(r, z);
    const Real beta = static_cast<Real>(nextRz / rz);
    for (int i = 0; i < n; ++i) p.data()[i] = z.data()[i] + beta * p.data()[i];
    rz = nextRz;
    ++result.iterations;
    result.relativeResidual = relative(rz);
  }
  return result;
}

}  // namespace

template <typename Real>
SolveResult conjugateGradients(const LinearMap<Real>& product, const LinearMap<Real>& precondition,
                               const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                               int maxIterations) {
  x = Volume<Real>(rhs.dimensions(), Real(0));
  Volume<Real> r = rhs;
  return iterate(product, precondition, r, x, -1.0, tolerance, maxIterations);
}

template <typename Real>
SolveResult improveSolution(const LinearMap<Real>& product, const LinearMap<Real>& precondition,
                            const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                            int maxIterations) {
  Volume<Real> r(rhs.dimensions(), Real(0));
  precondition(rhs, r);
  const double reference = dot(rhs, r);
  if (!(reference > 0.0)) {
    x.setAll(Real(0));
    return {0, 0.0};
  }
  product(x, r);
  for (int i = 0; i < r.size(); ++i) r.data()[i] = rhs.data()[i] - r.data()[i];
  return iterate(product, precondition, r, x, reference, tolerance, maxIterations);
}

template SolveResult conjugateGradients(const LinearMap<float>&, const LinearMap<float>&,
                                        const Volume<float>&, Volume<float>&, double, int);
template SolveResult conjugateGradients(const LinearMap<double>&, const LinearMap<double>&,
                                        const Volume<double>&, Volume<double>&, double, int);
template SolveResult improveSolution(const LinearMap<float>&, const LinearMap<float>&,
                                     const Volume<float>&, Volume<float>&, double, int);
template SolveResult improveSolution(const LinearMap<double>&, const LinearMap<double>&,
                                     const Volume<double>&, Volume<double>&, double, int);

}  // namespace mirel
