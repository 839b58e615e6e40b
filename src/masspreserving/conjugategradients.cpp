#include "masspreserving/conjugategradients.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "masspreserving/gridkernels.h"
#include "masspreserving/objective.h"

namespace mirel {

namespace {

// A preconditioner, and how many slices it and what goes along with it are done at once.
template <typename Real>
struct Precondition {
  SliceMap<Real> map;
  int slicesAtOnce;

  // z = M^-1 r and r'z, with `before` done to the slices of r first, while they are near.
  template <typename Before>
  double operator()(const Volume<Real>& r, Volume<Real>& z, const Before& before) const {
    std::vector<double> ofRows(static_cast<std::size_t>(r.ny() * r.nz()));
    inRanges(map.parallel, r.nz(), slicesAtOnce, [&](int from, int to) {
      const int at = r.index(0, 0, from), row = from * r.ny();
      before(at, r.index(0, 0, to));
      map.slices(r, z, from, to);
      dotsOfRows(r.data() + at, z.data() + at, r.nx(), (to - from) * r.ny(), ofRows.data() + row,
                 chosenVariant());
    });
    return sumOf(ofRows);
  }
};

template <typename Real>
Precondition<Real> bySlices(const SliceMap<Real>& map, const Volume<Real>& v) {
  return {map, piecesAtOnce(v.nx() * v.ny())};
}

template <typename Real>
Precondition<Real> asAWhole(const LinearMap<Real>& map, const Volume<Real>& v) {
  return {{[&map](const Volume<Real>& r, Volume<Real>& z, int, int) { map(r, z); }, {}},
          std::max(v.nz(), 1)};
}

// b += factor a, of the elements from .. to - 1.
template <typename Real>
void addScaled(Real factor, const Volume<Real>& a, Volume<Real>& b, int from, int to) {
  for (int i = from; i < to; ++i) b.data()[i] += factor * a.data()[i];
}

// From x with the residual r = rhs - H x, which `begin` makes of the elements from .. to - 1; the
// tolerance is relative to the norm sqrt(reference).
template <typename Real, typename Begin>
SolveResult iterate(const LinearMap<Real>& product, const Precondition<Real>& precondition,
                    const Begin& begin, Volume<Real>& r, Volume<Real>& x, double reference,
                    double tolerance, int maxIterations) {
  const Parallel& parallel = precondition.map.parallel;
  Volume<Real> z(r.dimensions()), q(r.dimensions()), p(r.dimensions());
  double rz = precondition(r, z, begin);
  inElements(parallel, p.size(),
             [&](int from, int to) { std::copy(z.data() + from, z.data() + to, p.data() + from); });
  if (reference < 0.0) reference = rz;
  const auto relative = [reference](double square) {
    return reference > 0.0 ? std::sqrt(std::max(square, 0.0) / reference) : 0.0;
  };
  SolveResult result{0, relative(rz)};
  while (rz > 0.0 && result.iterations < maxIterations && result.relativeResidual > tolerance) {
    product(p, q);
    const double curvature = dot(p, q, parallel);
    if (!(curvature > 0.0)) break;
    const Real step = static_cast<Real>(rz / curvature);
    const double nextRz = precondition(r, z, [&, step](int from, int to) {
      addScaled(step, p, x, from, to);
      addScaled(-step, q, r, from, to);
    });
    const Real beta = static_cast<Real>(nextRz / rz);
    inElements(parallel, r.size(), [&, beta](int from, int to) {
      for (int i = from; i < to; ++i) p.data()[i] = z.data()[i] + beta * p.data()[i];
    });
    rz = nextRz;
    ++result.iterations;
    result.relativeResidual = relative(rz);
  }
  return result;
}

template <typename Real>
SolveResult solveFromZero(const LinearMap<Real>& product, const Precondition<Real>& precondition,
                          const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                          int maxIterations) {
  if (x.dimensions() != rhs.dimensions()) x = Volume<Real>(rhs.dimensions());
  Volume<Real> r(rhs.dimensions());
  const auto begin = [&](int from, int to) {
    std::fill(x.data() + from, x.data() + to, Real(0));
    std::copy(rhs.data() + from, rhs.data() + to, r.data() + from);
  };
  return iterate(product, precondition, begin, r, x, -1.0, tolerance, maxIterations);
}

template <typename Real>
SolveResult improve(const LinearMap<Real>& product, const Precondition<Real>& precondition,
                    const Volume<Real>& rhs, Volume<Real>& x, double tolerance, int maxIterations) {
  Volume<Real> r(rhs.dimensions());
  const double reference = precondition(rhs, r, [](int, int) {});
  if (!(reference > 0.0)) {
    x.setAll(Real(0));
    return {0, 0.0};
  }
  product(x, r);
  const auto begin = [&](int from, int to) {
    for (int i = from; i < to; ++i) r.data()[i] = rhs.data()[i] - r.data()[i];
  };
  return iterate(product, precondition, begin, r, x, reference, tolerance, maxIterations);
}

}  // namespace

template <typename Real>
SolveResult conjugateGradients(const LinearMap<Real>& product, const LinearMap<Real>& precondition,
                               const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                               int maxIterations) {
  return solveFromZero(product, asAWhole(precondition, rhs), rhs, x, tolerance, maxIterations);
}

template <typename Real>
SolveResult improveSolution(const LinearMap<Real>& product, const LinearMap<Real>& precondition,
                            const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                            int maxIterations) {
  return improve(product, asAWhole(precondition, rhs), rhs, x, tolerance, maxIterations);
}

template <typename Real>
SolveResult conjugateGradients(const LinearMap<Real>& product, const SliceMap<Real>& precondition,
                               const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                               int maxIterations) {
  return solveFromZero(product, bySlices(precondition, rhs), rhs, x, tolerance, maxIterations);
}

template <typename Real>
SolveResult improveSolution(const LinearMap<Real>& product, const SliceMap<Real>& precondition,
                            const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                            int maxIterations) {
  return improve(product, bySlices(precondition, rhs), rhs, x, tolerance, maxIterations);
}

#define MIREL_SOLVERS(Real, Map)                                                            \
  template SolveResult conjugateGradients(const LinearMap<Real>&, const Map<Real>&,         \
                                          const Volume<Real>&, Volume<Real>&, double, int); \
  template SolveResult improveSolution(const LinearMap<Real>&, const Map<Real>&,            \
                                       const Volume<Real>&, Volume<Real>&, double, int);
MIREL_SOLVERS(float, LinearMap)
MIREL_SOLVERS(float, SliceMap)
MIREL_SOLVERS(double, LinearMap)
MIREL_SOLVERS(double, SliceMap)

}  // namespace mirel
