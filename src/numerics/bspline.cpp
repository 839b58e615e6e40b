#include "numerics/bspline.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace mirel {

namespace {

constexpr double sixth = 0.16666666666666666;

// Solves `lines` interleaved 1-D systems of n samples each. Sample i of line l sits at
// i*stride + l: walking the lines innermost keeps memory access contiguous for y and z.
void solve(const double* samples, double* q, int n, std::ptrdiff_t stride, std::ptrdiff_t lines,
           const BSplineFactors& factors) {
  for (std::ptrdiff_t l = 0; l < lines; ++l) q[l] = samples[l] * factors.d[0];
  for (int i = 1; i < n; ++i) {
    const double d = factors.d[static_cast<std::size_t>(i)];
    const double* f = samples + i * stride;
    double* row = q + i * stride;
    for (std::ptrdiff_t l = 0; l < lines; ++l) row[l] = (row[l - stride] * (-sixth) + f[l]) * d;
  }
  for (int i = n - 2; i >= 0; --i) {
    const double e = factors.e[static_cast<std::size_t>(i)];
    double* row = q + i * stride;
    for (std::ptrdiff_t l = 0; l < lines; ++l) row[l] = row[l] - e * row[l + stride];
  }
}

// The four taps of one coordinate: first index, weights, and which taps lie on the grid.
struct Taps {
  int first = 0;  // index of tap 0, i - 1
  double weight[4] = {0, 0, 0, 0};
  double slope[4] = {0, 0, 0, 0};
  bool valid[4] = {false, false, false, false};
  bool any = false;

  Taps(double x, int n, bool withSlope) {
    // Only positions near the grid, which an int holds, are converted.
    if (!(x > -2 && x < n + 1.0)) return;
    any = true;
    const double floorX = std::floor(x);
    const double t = x - floorX;
    first = static_cast<int>(floorX) - 1;
    setWeights(t);
    if (withSlope) setSlopes(t);
    for (int a = 0; a < 4; ++a) valid[a] = first + a >= 0 && first + a < n;
  }

 private:
  void setWeights(double t) {
    const double w3 = t * sixth * t * t;
    const double w0 = (t - 1) * (t * 0.5) + sixth - w3;
    const double w2 = w3 * (-2) + t + w0;
    weight[0] = w0;
    weight[1] = 1 - w3 - w2 - w0;
    weight[2] = w2;
    weight[3] = w3;
  }

  void setSlopes(double t) {
    const double dw3 = t * 0.5 * t;
    const double dw0 = (t - 0.5) - dw3;
    const double dw2 = (t - 0.5 - dw3) + (1 - t * t);
    slope[0] = dw0;
    slope[1] = -dw3 - dw2 - dw0;
    slope[2] = dw2;
    slope[3] = dw3;
  }
};

// Sum of weights times the taps of one line with the given stride: the two upper taps first.
double lineSum(const double* q, std::ptrdiff_t stride, const Taps& taps, const double* weight) {
  const auto term = [&](int a) {
    return taps.valid[a] ? weight[a] * q[(taps.first + a) * stride] : 0.0;
  };
  return ((term(3) + term(2)) + term(1)) + term(0);
}

// Sum over the x taps of the y-weighted column sums of one plane.
double planeSum(const double* q, int nx, const Taps& x, const double* wx, const Taps& y,
                const double* wy) {
  double sum = 0;
  for (int a = 3; a >= 0; --a)
    if (x.valid[a]) sum += wx[a] * lineSum(q + x.first + a, nx, y, wy);
  return sum;
}

double volumeSum(const double* q, std::ptrdiff_t nx, std::ptrdiff_t ny, const Taps& x,
                 const double* wx, const Taps& y, const double* wy, const Taps& z,
                 const double* wz) {
  double sum = 0;
  for (int a = 3; a >= 0; --a)
    if (z.valid[a])
      sum += wz[a] * planeSum(q + (z.first + a) * nx * ny, static_cast<int>(nx), x, wx, y, wy);
  return sum;
}

bool isInside(const Taps& taps) { return taps.valid[0] && taps.valid[3]; }

// volumeSum where all taps lie on the grid: the same sums in the same order, those of the four
// columns of a plane side by side.
double innerSum(const double* q, std::ptrdiff_t nx, std::ptrdiff_t ny, const Taps& x, const Taps& y,
                const Taps& z) {
  const double* wy = y.weight;
  double sum = 0;
  for (int c = 3; c >= 0; --c) {
    const double* row = q + ((z.first + c) * ny + y.first) * nx + x.first;
    double columns[4];
    for (int a = 0; a < 4; ++a)
      columns[a] = ((wy[3] * row[3 * nx + a] + wy[2] * row[2 * nx + a]) + wy[1] * row[nx + a]) +
                   wy[0] * row[a];
    double plane = 0;
    for (int a = 3; a >= 0; --a) plane += x.weight[a] * columns[a];
    sum += z.weight[c] * plane;
  }
  return sum;
}

// computeBSplineCoeff3D with its lines in parallel.
void coefficients3D(double* samples, int nx, int ny, int nz, double* coeff,
                    const Parallel& parallel) {
  if (nx <= 0 || ny <= 0 || nz <= 0) return;
  const BSplineFactors factors(std::max({nx, ny, nz}));
  const std::ptrdiff_t slice = static_cast<std::ptrdiff_t>(nx) * ny;
  // All lines along z that start in one row, then those in one plane.
  inRanges(parallel, ny, piecesAtOnce(nx * nz), [&](int from, int to) {
    const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(from) * nx,
                         lines = static_cast<std::ptrdiff_t>(to - from) * nx;
    solve(samples + first, coeff + first, nz, slice, lines, factors);
  });
  inRanges(parallel, nz, piecesAtOnce(nx * ny), [&](int from, int to) {
    for (int z = from; z < to; ++z) {
      double* plane = coeff + z * slice;
      solve(plane, plane, ny, nx, nx, factors);
      for (int y = 0; y < ny; ++y) {
        double* row = plane + static_cast<std::ptrdiff_t>(y) * nx;
        solve(row, row, nx, 1, 1, factors);
      }
    }
  });
}

}  // namespace

BSplineFactors::BSplineFactors(int n) : d(static_cast<std::size_t>(std::max(n, 0))), e(d.size()) {
  if (n <= 0) return;
  d[0] = 1.5;
  e[0] = 0.25;
  for (std::size_t i = 1; i < d.size(); ++i) {
    d[i] = 1 / ((4 - e[i - 1]) * sixth);
    e[i] = d[i] * sixth;
  }
}

void computeBSplineCoeff1D(double* samples, int n, double* coeff) {
  if (n <= 0) return;
  solve(samples, coeff, n, 1, 1, BSplineFactors(n));
}

void computeBSplineCoeff2D(double* samples, int nx, int ny, double* coeff) {
  if (nx <= 0 || ny <= 0) return;
  const BSplineFactors factors(std::max(nx, ny));
  solve(samples, coeff, ny, nx, nx, factors);
  for (std::ptrdiff_t y = 0; y < ny; ++y) {
    double* row = coeff + y * nx;
    solve(row, row, nx, 1, 1, factors);
  }
}

void computeBSplineCoeff3D(double* samples, int nx, int ny, int nz, double* coeff) {
  coefficients3D(samples, nx, ny, nz, coeff, {});
}

void convertToBSplineCoeff2D(double* data, int nx, int ny) {
  computeBSplineCoeff2D(data, nx, ny, data);
}

void convertToBSplineCoeff3D(double* data, int nx, int ny, int nz) {
  convertToBSplineCoeff3D(data, nx, ny, nz, {});
}

void convertToBSplineCoeff3D(double* data, int nx, int ny, int nz, const Parallel& parallel) {
  coefficients3D(data, nx, ny, nz, data, parallel);
}

void evalBSpline1D(double* coeff, int n, double* x, int m, double* value) {
  for (int i = 0; i < m; ++i) {
    const Taps tx(x[i], n, false);
    value[i] = tx.any ? lineSum(coeff, 1, tx, tx.weight) : 0;
  }
}

void evalBSplineAndGrad1D(double* coeff, int n, double* x, int m, double* value, double* grad) {
  for (int i = 0; i < m; ++i) {
    const Taps tx(x[i], n, true);
    value[i] = tx.any ? lineSum(coeff, 1, tx, tx.weight) : 0;
    grad[i] = tx.any ? lineSum(coeff, 1, tx, tx.slope) : 0;
  }
}

void evalBSpline2D(double* coeff, int nx, int ny, double* x, double* y, int m, double* value) {
  for (int i = 0; i < m; ++i) {
    const Taps tx(x[i], nx, false), ty(y[i], ny, false);
    value[i] = tx.any && ty.any ? planeSum(coeff, nx, tx, tx.weight, ty, ty.weight) : 0;
  }
}

void evalBSplineAndGrad2D(double* coeff, int nx, int ny, double* x, double* y, int m, double* value,
                          double* gradX, double* gradY) {
  for (int i = 0; i < m; ++i) {
    const Taps tx(x[i], nx, true), ty(y[i], ny, true);
    const bool any = tx.any && ty.any;
    value[i] = any ? planeSum(coeff, nx, tx, tx.weight, ty, ty.weight) : 0;
    gradX[i] = any ? planeSum(coeff, nx, tx, tx.slope, ty, ty.weight) : 0;
    gradY[i] = any ? planeSum(coeff, nx, tx, tx.weight, ty, ty.slope) : 0;
  }
}

void evalBSpline3D(double* coeff, int nx, int ny, int nz, double* x, double* y, double* z, int m,
                   double* value) {
  for (int i = 0; i < m; ++i) {
    const Taps tx(x[i], nx, false), ty(y[i], ny, false), tz(z[i], nz, false);
    if (isInside(tx) && isInside(ty) && isInside(tz)) {
      value[i] = innerSum(coeff, nx, ny, tx, ty, tz);
      continue;
    }
    const bool any = tx.any && ty.any && tz.any;
    value[i] = any ? volumeSum(coeff, nx, ny, tx, tx.weight, ty, ty.weight, tz, tz.weight) : 0;
  }
}

void evalBSplineAndGrad3D(double* coeff, int nx, int ny, int nz, double* x, double* y, double* z,
                          int m, double* value, double* gradX, double* gradY, double* gradZ) {
  for (int i = 0; i < m; ++i) {
    const Taps tx(x[i], nx, true), ty(y[i], ny, true), tz(z[i], nz, true);
    const bool any = tx.any && ty.any && tz.any;
    const auto sum = [&](const double* wx, const double* wy, const double* wz) {
      return any ? volumeSum(coeff, nx, ny, tx, wx, ty, wy, tz, wz) : 0.0;
    };
    value[i] = sum(tx.weight, ty.weight, tz.weight);
    gradX[i] = sum(tx.slope, ty.weight, tz.weight);
    gradY[i] = sum(tx.weight, ty.slope, tz.weight);
    gradZ[i] = sum(tx.weight, ty.weight, tz.slope);
  }
}

}  // namespace mirel
