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
  std::vector<typename Roughness<Real>::BandRow> bands;
  for (int j = 0; j < blockDiagonal.ny(); ++j) bands.push_back(roughness.bandRow(j));
  inSlices(parallel, blockDiagonal.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z) factor(z, bands, blockDiagonal, blockNext);
  });
}

template <typename Real>
void LineSolver<Real>::factor(int z, const std::vector<typename Roughness<Real>::BandRow>& bands,
                              const Volume<Real>& blockDiagonal, const Volume<Real>& blockNext) {
  const int nx = blockDiagonal.nx(), ny = blockDiagonal.ny();
  // Relative to the diagonal: keeps the pivots of a column without data and lateral neighbours
  // (whose constant part nothing determines) above rounding.
  const double ridge = 1e-5;
  for (int j = 0; j < ny; ++j)
    for (int x = 0; x < nx; ++x) {
      const std::size_t at = static_cast<std::size_t>(blockDiagonal.index(x, j, z));
      const std::size_t below = at - static_cast<std::size_t>(nx);
      const std::size_t twoBelow = below - static_cast<std::size_t>(nx);
      const auto& band = bands[static_cast<std::size_t>(j)];
      const double full = band.diagonal + static_cast<double>(blockDiagonal.data()[at]);
      double pivot = full * (1.0 + ridge), l1 = 0.0, l2 = 0.0;
      if (j > 0) {
        const auto& last = bands[static_cast<std::size_t>(j - 1)];
        const double inverse1 = inversePivot.data()[below];
        double coupling = last.next + static_cast<double>(blockNext.data()[below]);
        if (j > 1) {
          const double two = bands[static_cast<std::size_t>(j - 2)].afterNext;
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
