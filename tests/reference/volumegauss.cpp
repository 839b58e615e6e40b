#include "reference/volumegauss.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "numerics/fft/fftaccess.h"
#include "reference/volumetransform.h"

namespace mirel::reference {

namespace {

struct Support {
  int first, last, shift;
};

Support support(int n, double sigma) {
  const double m = n * 0.5 - 0.5;
  double r = m;
  if (r > 1 + 6 * sigma)
    r = r - static_cast<double>(static_cast<int>(r) - static_cast<int>(6 * sigma));
  return {static_cast<int>(m - r), static_cast<int>(m + r), static_cast<int>(n * 0.5 + 0.5)};
}

int placed(int k, const Support& s, int n, bool wrap) {
  if (!wrap) return k;
  return k + s.shift > n - 1 ? k + s.shift - n : k + s.shift;
}

double tap(const std::vector<double>& g, int k) { return g[static_cast<std::size_t>(k)]; }

bool inside(int i, int n) { return i >= 0 && i < n; }

}  // namespace

std::vector<double> createGauss1D(int n, double sigma, int order) {
  std::vector<double> taps;
  for (int k = 0; k < n; ++k) {
    const int x = k - n / 2;
    const double g = std::exp(x * (-x) / (2 * sigma * sigma)) / (2.5066282746310002 * sigma);
    double factor = 1;
    if (order == 2) factor = (x * x - sigma * sigma) / std::pow(sigma, 4.0);
    if (order == 1) factor = -x / (sigma * sigma);
    taps.push_back(g * factor);
  }
  return taps;
}

template <typename T>
Volume<T> createGaussianKernel3D(glm::ivec3 dims, glm::dvec3 sigma, glm::ivec3 order, bool wrap) {
  const auto gx = createGauss1D(dims.x, sigma.x, order.x);
  const auto gy = createGauss1D(dims.y, sigma.y, order.y);
  const auto gz = createGauss1D(dims.z, sigma.z, order.z);
  const Support sx = support(dims.x, sigma.x);
  const Support sy = support(dims.y, sigma.y);
  const Support sz = support(dims.z, sigma.z);
  Volume<T> kernel(dims, T(0));
  for (int k = sz.first; k <= sz.last; ++k)
    for (int j = sy.first; j <= sy.last; ++j)
      for (int i = sx.first; i <= sx.last; ++i)
        kernel.at(placed(i, sx, dims.x, wrap), placed(j, sy, dims.y, wrap),
                  placed(k, sz, dims.z, wrap)) =
            static_cast<T>(tap(gx, i) * tap(gy, j) * tap(gz, k));
  return kernel;
}

template <typename T>
Matrix<T> createGaussianKernel2D(glm::ivec2 dims, glm::dvec2 sigma, glm::ivec2 order, bool wrap) {
  const auto gx = createGauss1D(dims.x, sigma.x, order.x);
  const auto gy = createGauss1D(dims.y, sigma.y, order.y);
  const Support sx = support(dims.x, sigma.x);
  const Support sy = support(dims.y, sigma.y);
  Matrix<T> kernel(dims, T(0));
  for (int j = sy.first; j <= sy.last; ++j)
    for (int i = sx.first; i <= sx.last; ++i)
      kernel.at(placed(i, sx, dims.x, wrap), placed(j, sy, dims.y, wrap)) =
          static_cast<T>(tap(gx, i) * tap(gy, j));
  return kernel;
}

void convolve3D(Volume<float>& image, const Volume<float>& kernel, const Volume<float>& weight,
                bool normalize) {
  const int hx = kernel.nx() / 2, hy = kernel.ny() / 2, hz = kernel.nz() / 2;
  Volume<float> result(image.dimensions(), 0.0f);
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x) {
        float normaliser = 0;
        for (int k = 0; k < kernel.nz(); ++k)
          for (int j = 0; j < kernel.ny(); ++j)
            for (int i = 0; i < kernel.nx(); ++i) {
              const int u = x + i - hx, v = y + j - hy, t = z + k - hz;
              if (!inside(u, image.nx()) || !inside(v, image.ny()) || !inside(t, image.nz()))
                continue;
              const float w = weight.at(u, v, t);
              if (w == 0) continue;
              result.at(x, y, z) += image.at(u, v, t) * w * kernel.at(i, j, k);
              if (normalize) normaliser += w * kernel.at(i, j, k);
            }
        if (normalize && normaliser > 0) result.at(x, y, z) /= normaliser;
      }
  image = result;
}

void convolve2D(Matrix<float>& image, const Matrix<float>& kernel, const Matrix<float>& weight,
                bool normalize) {
  const int hx = kernel.rows() / 2, hy = kernel.columns() / 2;
  Matrix<float> result(image.dimensions(), 0.0f);
  for (int y = 0; y < image.columns(); ++y)
    for (int x = 0; x < image.rows(); ++x) {
      float normaliser = 0;
      int taps = 0, skipped = 0;
      for (int j = 0; j < kernel.columns(); ++j)
        for (int i = 0; i < kernel.rows(); ++i) {
          const int u = x + i - hx, v = y + j - hy;
          if (!inside(u, image.rows()) || !inside(v, image.columns())) continue;
          ++taps;
          const float w = weight.at(u, v);
          if (w == 0) {
            ++skipped;
            continue;
          }
          result.at(x, y) += image.at(u, v) * w * kernel.at(i, j);
          if (normalize) normaliser += w * kernel.at(i, j);
        }
      if (normalize && normaliser > 0) result.at(x, y) /= normaliser;
      if (skipped == taps) result.at(x, y) = image.at(x, y);
    }
  image = result;
}

void fftwConvolve3D(Volume<float>& input, Volume<float>& kernel) {
  if (input.size() == 0) return;
  const int nx = input.nx(), ny = input.ny(), nz = input.nz();
  const int product = std::max((nz / 2 + 1) * ny * nx, nz * ny * (nx / 2 + 1));
  const int room = std::max(nx * ny * (nz / 2 + 2), product);
  const std::size_t bytes = static_cast<std::size_t>(room) * sizeof(plugin_fftw_complex);
  const auto spectrum = [&] {
    void* memory = plugin_fftw_malloc(bytes);
    std::memset(memory, 0, bytes);
    return static_cast<plugin_fftw_complex*>(memory);
  };
  const auto run = [](plugin_fftw_plan plan) {
    plugin_fftw_execute(plan);
    plugin_fftw_destroy_plan(plan);
  };
  plugin_fftw_complex* b = spectrum();
  plugin_fftw_complex* a = spectrum();
  plugin_fftw_complex* c = spectrum();
  run(plugin_fftw_plan_dft_r2c_3d(nz, ny, nx, kernel.data(), b, 64));
  run(plugin_fftw_plan_dft_r2c_3d(nz, ny, nx, input.data(), a, 64));
  const float scale = static_cast<float>(1.0 / (nx * ny * nz));
  for (int i = 0; i < product; ++i) {
    c[i][0] = (a[i][0] * b[i][0] - a[i][1] * b[i][1]) * scale;
    c[i][1] = (a[i][1] * b[i][0] + a[i][0] * b[i][1]) * scale;
  }
  plugin_fftw_free(b);
  plugin_fftw_free(a);
  run(plugin_fftw_plan_dft_c2r_3d(nz, ny, nx, c, input.data(), 64));
  plugin_fftw_free(c);
}

template <typename T>
void applyGauss(Volume<T>& v, glm::dvec3 sigma, glm::ivec3 order, bool) {
  const glm::ivec3 dims = v.dimensions();
  growVolumeReplicateBoundary(v, glm::ivec3(7, 7, 7));
  Volume<T> kernel = createGaussianKernel3D<T>(v.dimensions(), sigma, order, true);
  fftwConvolve3D(v, kernel);
  v.resize(dims);
}

template <typename T>
Volume<T> getAppliedGauss(const Volume<T>& v, glm::dvec3 sigma, glm::ivec3 order) {
  Volume<T> copy = v;
  applyGauss(copy, sigma, order, true);
  return copy;
}

template <typename T>
Volume<T> getSimpleYDerivative(const Volume<T>& v) {
  Volume<T> out(v.dimensions(), T(0));
  for (int z = 0; z < v.nz(); ++z)
    for (int y = 1; y <= v.ny() - 2; ++y)
      for (int x = 0; x < v.nx(); ++x)
        out.at(x, y, z) = (v.at(x, y + 1, z) - v.at(x, y - 1, z)) * T(0.5);
  return out;
}

template Volume<float> createGaussianKernel3D(glm::ivec3, glm::dvec3, glm::ivec3, bool);
template Matrix<float> createGaussianKernel2D(glm::ivec2, glm::dvec2, glm::ivec2, bool);
template void applyGauss(Volume<float>&, glm::dvec3, glm::ivec3, bool);
template Volume<float> getAppliedGauss(const Volume<float>&, glm::dvec3, glm::ivec3);
template Volume<float> getSimpleYDerivative(const Volume<float>&);

}  // namespace mirel::reference
