#include "masspreserving/linesolver.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "masspreserving/gridkernels.h"

namespace mirel {

template <typename Real>
LineSolver<Real>::LineSolver(const Roughness<Real>& roughness, const Volume<Real>& blockDiagonal,
                             const Volume<Real>& blockNext)
    : parallel(roughness.inParallel()),
      inversePivot(blockDiagonal.dimensions()),
      lower1(blockDiagonal.dimensions()),
      lower2(blockDiagonal.dimensions()) {
  std::vector<Bands> bands;
  for (int j = 0; j < blockDiagonal.ny(); ++j)
    bands.push_back({roughness.gradientRow(j), roughness.bendingRow(j)});
  inSlices(parallel, blockDiagonal.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z)
      factor(z, bands, roughness.bendingFactors().get(), blockDiagonal, blockNext);
  });
}

template <typename Real>
void LineSolver<Real>::factor(int z, const std::vector<Bands>& bands,
                              const Volume<Real>* bendingFactors, const Volume<Real>& blockDiagonal,
                              const Volume<Real>& blockNext) {
  const int nx = blockDiagonal.nx(), ny = blockDiagonal.ny();
  // Relative to the diagonal: keeps the pivots of a column without data and lateral neighbours
  // (whose constant part nothing determines) above rounding.
  const double ridge = 1e-5;
  const auto factorOf = [&](std::size_t i, std::size_t k) {
    if (bendingFactors == nullptr) return 1.0;
    return std::sqrt(static_cast<double>(bendingFactors->data()[i]) * bendingFactors->data()[k]);
  };
  for (int j = 0; j < ny; ++j)
    for (int x = 0; x < nx; ++x) {
      const std::size_t at = static_cast<std::size_t>(blockDiagonal.index(x, j, z));
      const std::size_t below = at - static_cast<std::size_t>(nx);
      const std::size_t twoBelow = below - static_cast<std::size_t>(nx);
      const Bands& band = bands[static_cast<std::size_t>(j)];
      const double full = band.gradient.diagonal + factorOf(at, at) * band.bending.diagonal +
                          static_cast<double>(blockDiagonal.data()[at]);
      double pivot = full * (1.0 + ridge), l1 = 0.0, l2 = 0.0;
      if (j > 0) {
        const Bands& last = bands[static_cast<std::size_t>(j - 1)];
        const double inverse1 = inversePivot.data()[below];
        double coupling = last.gradient.next + factorOf(at, below) * last.bending.next +
                          static_cast<double>(blockNext.data()[below]);
        if (j > 1) {
          const double two =
              factorOf(at, twoBelow) * bands[static_cast<std::size_t>(j - 2)].bending.afterNext;
          l2 = two * inversePivot.data()[twoBelow];
          coupling -= two * lower1.data()[below];
          pivot -= l2 * two;
        }
        l1 = coupling * inverse1;
        pivot -= l1 * coupling;
      }
      pivot = std::max(pivot, full * ridge);
      inversePivot.data()[at] = static_cast<Real>(pivot > 0.0 ? 1.0 / pivot : 0.0);
      lower1.data()[at] = static_cast<Real>(l1);
      lower2.data()[at] = static_cast<Real>(l2);
    }
}

template <typename Real>
void LineSolver<Real>::solve(const Volume<Real>& v, Volume<Real>& out, int from, int to) const {
  for (int z = from; z < to; ++z) {
    const int at = v.index(0, 0, z);
    solveColumns(
        v.nx(), v.ny(),
        ColumnFactors<Real>{inversePivot.data() + at, lower1.data() + at, lower2.data() + at},
        v.data() + at, out.data() + at, variant);
  }
}

template <typename Real>
void LineSolver<Real>::solve(const Volume<Real>& v, Volume<Real>& out) const {
  inSlices(parallel, v.dimensions(), [&](int from, int to) { solve(v, out, from, to); });
}

template <typename Real>
SliceMap<Real> LineSolver<Real>::asMap() const {
  return {[this](const Volume<Real>& v, Volume<Real>& out, int from, int to) {
            solve(v, out, from, to);
          },
          parallel};
}

template <typename Real>
SolveResult conjugateGradients(const LinearMap<Real>& product,
                               const LineSolver<Real>& preconditioner, const Volume<Real>& rhs,
                               Volume<Real>& x, double tolerance, int maxIterations) {
  return conjugateGradients<Real>(product, preconditioner.asMap(), rhs, x, tolerance,
                                  maxIterations);
}

template <typename Real>
SolveResult improveSolution(const LinearMap<Real>& product, const LineSolver<Real>& preconditioner,
                            const Volume<Real>& rhs, Volume<Real>& x, double tolerance,
                            int maxIterations) {
  return improveSolution<Real>(product, preconditioner.asMap(), rhs, x, tolerance, maxIterations);
}

template class LineSolver<float>;
template class LineSolver<double>;
template SolveResult conjugateGradients(const LinearMap<float>&, const LineSolver<float>&,
                                        const Volume<float>&, Volume<float>&, double, int);
template SolveResult conjugateGradients(const LinearMap<double>&, const LineSolver<double>&,
                                        const Volume<double>&, Volume<double>&, double, int);
template SolveResult improveSolution(const LinearMap<float>&, const LineSolver<float>&,
                                     const Volume<float>&, Volume<float>&, double, int);
template SolveResult improveSolution(const LinearMap<double>&, const LineSolver<double>&,
                                     const Volume<double>&, Volume<double>&, double, int);

}  // namespace mirel
