#include "reference/bspline.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace mirel::reference {

namespace {

constexpr double s = 0.16666666666666666;

struct Factors {
  std::vector<double> d, e;
};

Factors factors(int n) {
  Factors f;
  for (int i = 0; i < n; ++i) {
    f.d.push_back(i == 0 ? 1.5 : 1 / ((4 - f.e[static_cast<size_t>(i) - 1]) * s));
    if (i <= n - 2) f.e.push_back(i == 0 ? 0.25 : f.d.back() * s);
  }
  return f;
}

// One line of n samples, `stride` apart.
void solve(const double* f, double* q, int n, int stride, const Factors& factor) {
  const auto d = [&](int i) { return factor.d[static_cast<size_t>(i)]; };
  const auto e = [&](int i) { return factor.e[static_cast<size_t>(i)]; };
  q[0] = f[0] * d(0);
  for (int i = 1; i < n; ++i) q[i * stride] = (q[(i - 1) * stride] * (-s) + f[i * stride]) * d(i);
  for (int i = n - 2; i >= 0; --i) q[i * stride] = q[i * stride] - e(i) * q[(i + 1) * stride];
}

// One coordinate of one position: the taps start, start+1, start+2, start+3 with their weights.
struct Axis {
  bool outside = true;
  int n = 0;
  int start = 0;
  double weight[4] = {0, 0, 0, 0};
  double derivative[4] = {0, 0, 0, 0};

  bool valid(int tap) const { return start + tap >= 0 && start + tap < n; }
};

Axis axis(double x, int n) {
  Axis a;
  a.n = n;
  if (!(x > -2.0 && x < n + 1.0)) return a;
  a.outside = false;
  const double t = x - std::floor(x);
  a.start = static_cast<int>(std::floor(x)) - 1;
  const double w3 = t * s * t * t;
  const double w0 = (t - 1) * (t * 0.5) + s - w3;
  const double w2 = w3 * (-2) + t + w0;
  const double w1 = 1 - w3 - w2 - w0;
  const double weights[4] = {w0, w1, w2, w3};
  std::copy(weights, weights + 4, a.weight);
  const double dw3 = t * 0.5 * t;
  const double dw0 = (t - 0.5) - dw3;
  const double dw2 = (t - 0.5 - dw3) + (1 - t * t);
  const double dw1 = -dw3 - dw2 - dw0;
  const double derivatives[4] = {dw0, dw1, dw2, dw3};
  std::copy(derivatives, derivatives + 4, a.derivative);
  return a;
}

double sum1D(const double* q, const Axis& ax, const double* w) {
  if (ax.outside) return 0;
  const auto term = [&](int tap) { return ax.valid(tap) ? w[tap] * q[ax.start + tap] : 0.0; };
  return term(0) + (term(1) + (term(2) + term(3)));
}

double sum2D(const double* q, const Axis& ax, const double* wx, const Axis& ay, const double* wy) {
  if (ax.outside || ay.outside) return 0;
  double sum = 0;
  for (int a = 3; a >= 0; --a) {
    if (!ax.valid(a)) continue;
    const auto term = [&](int b) {
      return ay.valid(b) ? wy[b] * q[(ay.start + b) * ax.n + ax.start + a] : 0.0;
    };
    sum = sum + wx[a] * (((term(3) + term(2)) + term(1)) + term(0));
  }
  return sum;
}

double sum3D(const double* q, const Axis& ax, const double* wx, const Axis& ay, const double* wy,
             const Axis& az, const double* wz) {
  if (ax.outside || ay.outside || az.outside) return 0;
  double sum = 0;
  for (int c = 3; c >= 0; --c) {
    if (!az.valid(c)) continue;
    const double* plane = q + static_cast<long>(az.start + c) * ax.n * ay.n;
    sum = sum + wz[c] * sum2D(plane, ax, wx, ay, wy);
  }
  return sum;
}

}  // namespace

void computeBSplineCoeff1D(double* samples, int n, double* coeff) {
  if (n > 0) solve(samples, coeff, n, 1, factors(n));
}

void computeBSplineCoeff2D(double* samples, int nx, int ny, double* coeff) {
  if (nx == 0 || ny == 0) return;
  const Factors f = factors(std::max(nx, ny));
  for (int x = 0; x < nx; ++x) solve(samples + x, coeff + x, ny, nx, f);
  for (int y = 0; y < ny; ++y) solve(coeff + y * nx, coeff + y * nx, nx, 1, f);
}

void computeBSplineCoeff3D(double* samples, int nx, int ny, int nz, double* coeff) {
  if (nx == 0 || ny == 0 || nz == 0) return;
  const Factors f = factors(std::max(nx, std::max(ny, nz)));
  const int slice = nx * ny;
  for (int i = 0; i < slice; ++i) solve(samples + i, coeff + i, nz, slice, f);
  for (int z = 0; z < nz; ++z)
    for (int x = 0; x < nx; ++x) {
      double* line = coeff + z * slice + x;
      solve(line, line, ny, nx, f);
    }
  for (int i = 0; i < ny * nz; ++i) solve(coeff + i * nx, coeff + i * nx, nx, 1, f);
}

void convertToBSplineCoeff2D(double* data, int nx, int ny) {
  computeBSplineCoeff2D(data, nx, ny, data);
}

void convertToBSplineCoeff3D(double* data, int nx, int ny, int nz) {
  computeBSplineCoeff3D(data, nx, ny, nz, data);
}

void evalBSpline1D(double* coeff, int n, double* x, int m, double* value) {
  for (int i = 0; i < m; ++i) {
    const Axis ax = axis(x[i], n);
    value[i] = sum1D(coeff, ax, ax.weight);
  }
}

void evalBSplineAndGrad1D(double* coeff, int n, double* x, int m, double* value, double* grad) {
  for (int i = 0; i < m; ++i) {
    const Axis ax = axis(x[i], n);
    value[i] = sum1D(coeff, ax, ax.weight);
    grad[i] = sum1D(coeff, ax, ax.derivative);
  }
}

void evalBSpline2D(double* coeff, int nx, int ny, double* x, double* y, int m, double* value) {
  for (int i = 0; i < m; ++i) {
    const Axis ax = axis(x[i], nx), ay = axis(y[i], ny);
    value[i] = sum2D(coeff, ax, ax.weight, ay, ay.weight);
  }
}

void evalBSplineAndGrad2D(double* coeff, int nx, int ny, double* x, double* y, int m, double* value,
                          double* gradX, double* gradY) {
  for (int i = 0; i < m; ++i) {
    const Axis ax = axis(x[i], nx), ay = axis(y[i], ny);
    value[i] = sum2D(coeff, ax, ax.weight, ay, ay.weight);
    gradX[i] = sum2D(coeff, ax, ax.derivative, ay, ay.weight);
    gradY[i] = sum2D(coeff, ax, ax.weight, ay, ay.derivative);
  }
}

void evalBSpline3D(double* coeff, int nx, int ny, int nz, double* x, double* y, double* z, int m,
                   double* value) {
  for (int i = 0; i < m; ++i) {
    const Axis ax = axis(x[i], nx), ay = axis(y[i], ny), az = axis(z[i], nz);
    value[i] = sum3D(coeff, ax, ax.weight, ay, ay.weight, az, az.weight);
  }
}

void evalBSplineAndGrad3D(double* coeff, int nx, int ny, int nz, double* x, double* y, double* z,
                          int m, double* value, double* gradX, double* gradY, double* gradZ) {
  for (int i = 0; i < m; ++i) {
    const Axis ax = axis(x[i], nx), ay = axis(y[i], ny), az = axis(z[i], nz);
    value[i] = sum3D(coeff, ax, ax.weight, ay, ay.weight, az, az.weight);
    gradX[i] = sum3D(coeff, ax, ax.derivative, ay, ay.weight, az, az.weight);
    gradY[i] = sum3D(coeff, ax, ax.weight, ay, ay.derivative, az, az.weight);
    gradZ[i] = sum3D(coeff, ax, ax.weight, ay, ay.weight, az, az.derivative);
  }
}

}  // namespace mirel::reference
