#pragma once

#include <array>
#include <glm/vec3.hpp>
#include <optional>
#include <string>

#include "containers/volume.h"

/// By what the values between voxels are interpolated in images that are written.
namespace mirel {

enum class InterpolationKernel {
  linear,   ///< between the two nearest samples: never beyond them, but it blurs
  cubic,    ///< cubic B-splines through the samples (numerics/bspline.h)
  lanczos,  ///< a sinc of three lobes to each side: a little sharper still
};

/// "linear", "cubic" or "lanczos".
std::string nameOf(InterpolationKernel kernel);
/// The kernel of a name; nothing for other words.
std::optional<InterpolationKernel> interpolationKernelOf(const std::string& word);

/// The samples of a row that a value is the weighted sum of, at most six of them that follow one
/// another: sample first + k has the weight weights[k]. No samples: the value is 0.
struct RowTaps {
  int first = 0, count = 0;
  std::array<double, 6> weights{};
};

/// Linear interpolation at `position` in a row of n samples: 1 - |position - i| for the sample i.
///
/// Samples  At a whole position within the row that sample alone has a weight, 1.
/// Edges    Samples off the row count as 0: values fall to 0 within one voxel beyond its ends.
/// NaN      No samples.
RowTaps linearTaps(double position, int n);

/// The sinc of three lobes to each side that the main lobe of a wider one tapers (C. E. Duchon, J.
/// Appl. Meteorol. 18:1016, 1979), at `position` in a row of n samples:
///
///   L(x) = sinc(x) sinc(x / 3) for |x| < 3, else 0,   sinc(x) = sin(pi x) / (pi x),
///   the sample i having the weight L(position - i) / sum over the row's samples of L(position - i)
///
/// so that constants are exact up to the ends of the row. Beside a step it overshoots by up to 12 %
/// of its height (the cubic spline: 11 %).
///
/// Samples  As for linearTaps at whole positions.
/// Edges    Beyond the ends linearTaps: values fall to 0 within one voxel, without ringing.
/// NaN      No samples.
/// Accuracy A few units in the last place of double.
RowTaps lanczosTaps(double position, int n);

/// linearTaps or lanczosTaps.
/// Errors  std::logic_error for the cubic one, whose weights are not of samples but of the spline's
///         coefficients.
RowTaps rowTaps(InterpolationKernel kernel, double position, int n);

/// The weighted sum of samples that lie `stride` apart, the row's sample 0 at `row`, in double and
/// in the order of the samples. One sample of weight 1 gives its own value, -0 too.
inline double weightedSum(const RowTaps& taps, const float* row, int stride) {
  if (taps.count == 0) return 0.0;
  const float* at = row + static_cast<std::ptrdiff_t>(taps.first) * stride;
  double sum = taps.weights[0] * static_cast<double>(*at);
  for (int k = 1; k < taps.count; ++k) {
    at += stride;
    sum += taps.weights[static_cast<std::size_t>(k)] * static_cast<double>(*at);
  }
  return sum;
}

/// The value of an image at `p` in voxels: rowTaps along each of the three axes, in double. Where
/// two coordinates are whole it is that of the row, bit for bit.
/// Errors  those of rowTaps.
double interpolatedAt(const Volume<float>& image, InterpolationKernel kernel, const glm::dvec3& p);

}  // namespace mirel
