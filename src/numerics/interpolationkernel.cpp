#include "numerics/interpolationkernel.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <stdexcept>

namespace mirel {

namespace {

constexpr int lobes = 3;

// The sample at or below a position, and how far that is from it.
struct Below {
  int sample;
  double beyond;  // 0 .. 1
};

// Of a position between -1 and n.
Below below(double position) {
  const double floored = std::floor(position);
  return {static_cast<int>(floored), position - floored};
}

bool reaches(double position, int n) { return position > -1.0 && position < n; }

void normalise(RowTaps& taps) {
  double sum = 0;
  for (int k = 0; k < taps.count; ++k) sum += taps.weights[static_cast<std::size_t>(k)];
  for (int k = 0; k < taps.count; ++k) taps.weights[static_cast<std::size_t>(k)] /= sum;
}

}  // namespace

std::string nameOf(InterpolationKernel kernel) {
  switch (kernel) {
    case InterpolationKernel::linear:
      return "linear";
    case InterpolationKernel::lanczos:
      return "lanczos";
    case InterpolationKernel::cubic:
      break;
  }
  return "cubic";
}

std::optional<InterpolationKernel> interpolationKernelOf(const std::string& word) {
  for (const InterpolationKernel kernel :
       {InterpolationKernel::linear, InterpolationKernel::cubic, InterpolationKernel::lanczos})
    if (word == nameOf(kernel)) return kernel;
  return std::nullopt;
}

RowTaps linearTaps(double position, int n) {
  if (!reaches(position, n)) return {};
  const auto [sample, t] = below(position);
  if (t == 0) return {sample, 1, {1.0}};
  if (sample < 0) return {0, 1, {t}};
  if (sample == n - 1) return {sample, 1, {1 - t}};
  return {sample, 2, {1 - t, t}};
}

// What all weights have in common falls away when they are normalised. With t from the sample below
// and j = i - sample, sin(pi (t - j)) = (-1)^j sin(pi t) is, and
//
//   L(t - j) ~ (-1)^j t sin(pi (t - j) / 3) / (t - j)^2
//
// (t keeps the quotient finite where it is next to 0). The sines of j and j + 3 are opposite.
RowTaps lanczosTaps(double position, int n) {
  if (!reaches(position, n)) return {};
  const auto [sample, t] = below(position);
  if (t == 0 || sample < 0 || sample == n - 1) return linearTaps(position, n);
  const auto sine = [t = t](int j) { return std::sin(std::numbers::pi * (t - j) / lobes); };
  const std::array<double, lobes> sines = {sine(0), sine(1), sine(2)};
  RowTaps taps{std::max(sample - lobes + 1, 0), 0, {}};
  for (int i = taps.first; i < std::min(sample + lobes + 1, n); ++i) {
    const int j = i - sample;
    const double x = t - j;
    // (-1)^j, and the opposite sine three samples before or after
    const bool negative = (j % 2 != 0) != (j < 0 || j >= lobes);
    const double s = sines[static_cast<std::size_t>((j + lobes) % lobes)];
    taps.weights[static_cast<std::size_t>(taps.count++)] = (negative ? -s : s) / x * (t / x);
  }
  normalise(taps);
  return taps;
}

RowTaps rowTaps(InterpolationKernel kernel, double position, int n) {
  switch (kernel) {
    case InterpolationKernel::linear:
      return linearTaps(position, n);
    case InterpolationKernel::lanczos:
      return lanczosTaps(position, n);
    case InterpolationKernel::cubic:
      break;
  }
  throw std::logic_error("a cubic spline is not a weighted sum of a few samples");
}

double interpolatedAt(const Volume<float>& image, InterpolationKernel kernel, const glm::dvec3& p) {
  const RowTaps x = rowTaps(kernel, p.x, image.nx()), y = rowTaps(kernel, p.y, image.ny()),
                z = rowTaps(kernel, p.z, image.nz());
  if (x.count == 0 || y.count == 0 || z.count == 0) return 0.0;
  double sum = 0.0;
  for (int c = 0; c < z.count; ++c) {
    double ofSlice = 0.0;
    for (int b = 0; b < y.count; ++b) {
      const double ofRow = y.weights[static_cast<std::size_t>(b)] *
                           weightedSum(x, &image.at(0, y.first + b, z.first + c), 1);
      ofSlice = b == 0 ? ofRow : ofSlice + ofRow;
    }
    ofSlice *= z.weights[static_cast<std::size_t>(c)];
    sum = c == 0 ? ofSlice : sum + ofSlice;
  }
  return sum;
}

}  // namespace mirel
