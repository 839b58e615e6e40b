#include "numerics/volumegauss.h"

#include <algorithm>
#include <cmath>

#include "numerics/volumetransform.h"

namespace mirel {

namespace {

constexpr double sqrtTwoPi = 2.5066282746310002;
constexpr glm::ivec3 fftMargin(7, 7, 7);

// x is a whole offset: its square and negation are formed as integers.
double derivativeFactor(long long x, double sigma, int order) {
  if (order == 2) return (static_cast<double>(x * x) - sigma * sigma) / std::pow(sigma, 4.0);
  if (order == 1) return static_cast<double>(-x) / (sigma * sigma);
  return 1.0;
}

// Taps first .. last (inclusive) of an axis that a kernel keeps.
struct Support {
  int first, last;
};

// The radius is cut to 6 sigma while it keeps its fractional part. Sigmas that are not ordinary
// numbers leave it uncut, and a support that misses the axis is empty.
Support kernelSupport(int n, double sigma) {
  const double middle = n * 0.5 - 0.5;
  double radius = middle;
  if (radius > 1 + 6 * sigma) radius = radius - (std::trunc(radius) - std::trunc(6 * sigma));
  if (!(std::abs(radius) <= n)) return {0, -1};
  return {static_cast<int>(middle - radius), static_cast<int>(middle + radius)};
}

// Where tap k is stored; wrapped, the centre tap n/2 lands on 0.
int tapPosition(int k, int n, bool wrap) {
  if (!wrap) return k;
  const int position = k + static_cast<int>(n * 0.5 + 0.5);
  return position > n - 1 ? position - n : position;
}

// The part of 0 .. kernelSize-1 whose taps lie inside 0 .. n-1 when centred on p.
struct TapRange {
  int begin, end, shift;

  TapRange(int p, int kernelSize, int n)
      : begin(std::max(0, kernelSize / 2 - p)),
        end(std::min(kernelSize, n - p + kernelSize / 2)),
        shift(p - kernelSize / 2) {}
};

// One output of a weighted convolution, built up tap by tap.
template <typename T>
struct WeightedSum {
  T sum = 0, normalizer = 0;
  int skipped = 0;

  void add(T value, T weight, T kernel) {
    if (weight == 0) {
      ++skipped;
      return;
    }
    sum += value * weight * kernel;
    normalizer += weight * kernel;
  }

  T result(bool normalize) const { return normalize && normalizer > 0 ? sum / normalizer : sum; }
};

// Smooths a grown volume and cuts it back to `dims`.
template <typename T>
void convolveGrown(Volume<T>& v, glm::ivec3 dims, glm::dvec3 sigma, glm::ivec3 order) {
  Volume<T> kernel = createGaussianKernel3D<T>(v.dimensions(), sigma, order, /*wrap=*/true);
  fftwConvolve3D(v, kernel);
  v.resize(dims);
}

}  // namespace

std::vector<double> createGauss1D(int n, double sigma, int order) {
  std::vector<double> taps(static_cast<std::size_t>(std::max(n, 0)));
  for (int k = 0; k < n; ++k) {
    const long long x = k - n / 2;
    const double g =
        std::exp(static_cast<double>(x * -x) / (2 * sigma * sigma)) / (sqrtTwoPi * sigma);
    taps[static_cast<std::size_t>(k)] = g * derivativeFactor(x, sigma, order);
  }
  return taps;
}

template <typename T>
Volume<T> createGaussianKernel3D(glm::ivec3 dims, glm::dvec3 sigma, glm::ivec3 order, bool wrap) {
  std::vector<double> taps[3];
  Support support[3];
  for (int axis = 0; axis < 3; ++axis) {
    taps[axis] = createGauss1D(dims[axis], sigma[axis], order[axis]);
    support[axis] = kernelSupport(dims[axis], sigma[axis]);
  }
  const auto tap = [&](int axis, int k) { return taps[axis][static_cast<std::size_t>(k)]; };
  Volume<T> kernel(dims, T(0));
  for (int k = support[2].first; k <= support[2].last; ++k)
    for (int j = support[1].first; j <= support[1].last; ++j)
      for (int i = support[0].first; i <= support[0].last; ++i)
        kernel.at(tapPosition(i, dims.x, wrap), tapPosition(j, dims.y, wrap),
                  tapPosition(k, dims.z, wrap)) = static_cast<T>(tap(0, i) * tap(1, j) * tap(2, k));
  return kernel;
}

template <typename T>
Matrix<T> createGaussianKernel2D(glm::ivec2 dims, glm::dvec2 sigma, glm::ivec2 order, bool wrap) {
  const std::vector<double> tapsX = createGauss1D(dims[0], sigma[0], order[0]);
  const std::vector<double> tapsY = createGauss1D(dims[1], sigma[1], order[1]);
  const Support x = kernelSupport(dims[0], sigma[0]), y = kernelSupport(dims[1], sigma[1]);
  Matrix<T> kernel(dims, T(0));
  for (int j = y.first; j <= y.last; ++j)
    for (int i = x.first; i <= x.last; ++i)
      kernel.at(tapPosition(i, dims[0], wrap), tapPosition(j, dims[1], wrap)) =
          static_cast<T>(tapsX[static_cast<std::size_t>(i)] * tapsY[static_cast<std::size_t>(j)]);
  return kernel;
}

template <typename T>
void convolve2D(Matrix<T>& image, const Matrix<T>& kernel, const Matrix<T>& weight,
                bool normalize) {
  Matrix<T> result(image.dimensions(), T(0));
  for (int y = 0; y < image.columns(); ++y)
    for (int x = 0; x < image.rows(); ++x) {
      const TapRange rx(x, kernel.rows(), image.rows()), ry(y, kernel.columns(), image.columns());
      WeightedSum<T> sum;
      for (int j = ry.begin; j < ry.end; ++j)
        for (int i = rx.begin; i < rx.end; ++i) {
          const int q = image.index(i + rx.shift, j + ry.shift);
          sum.add(image.data()[q], weight.data()[q], kernel.at(i, j));
        }
      const int taps = std::max(0, ry.end - ry.begin) * std::max(0, rx.end - rx.begin);
      result.at(x, y) = sum.skipped == taps ? image.at(x, y) : sum.result(normalize);
    }
  image = result;
}

template <typename T>
void applyGauss(Volume<T>& v, glm::dvec3 sigma, glm::ivec3 order, bool) {
  const glm::ivec3 dims = v.dimensions();
  growVolumeReplicateBoundary(v, fftMargin);
  convolveGrown(v, dims, sigma, order);
}

template <typename T>
Volume<T> getAppliedGauss(const Volume<T>& v, glm::dvec3 sigma, glm::ivec3 order) {
  Volume<T> result = replicatedBoundary(v, fftMargin);
  convolveGrown(result, v.dimensions(), sigma, order);
  return result;
}

template <typename T>
Volume<T> getSimpleYDerivative(const Volume<T>& v) {
  Volume<T> result(v.dimensions(), T(0));
  const int nx = v.nx();
  for (int z = 0; z < v.nz(); ++z)
    for (int y = 1; y < v.ny() - 1; ++y) {
      const T* row = v.data() + v.index(0, y, z);
      T* out = result.data() + v.index(0, y, z);
      for (int x = 0; x < nx; ++x) out[x] = (row[x + nx] - row[x - nx]) * T(0.5);
    }
  return result;
}

template Volume<float> createGaussianKernel3D(glm::ivec3, glm::dvec3, glm::ivec3, bool);
template Matrix<float> createGaussianKernel2D(glm::ivec2, glm::dvec2, glm::ivec2, bool);
template void convolve2D(Matrix<float>&, const Matrix<float>&, const Matrix<float>&, bool);
template void applyGauss(Volume<float>&, glm::dvec3, glm::ivec3, bool);
template Volume<float> getAppliedGauss(const Volume<float>&, glm::dvec3, glm::ivec3);
template Volume<float> getSimpleYDerivative(const Volume<float>&);

}  // namespace mirel
