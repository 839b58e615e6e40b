#pragma once

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <vector>

#include "containers/matrix.h"
#include "containers/volume.h"

namespace mirel {

/// Gaussian filters, weighted direct convolution and convolution by FFT.
///
/// Sigmas are per axis, in voxels. Derivative orders per axis: 0 the Gaussian, 1 its first and
/// 2 its second derivative; any other order counts as 0. Kernels are centred (centre tap at
/// index n/2 of each axis) or wrapped (centre tap at index 0, the layout of an FFT convolution).

/// n taps of the sampled Gaussian or derivative, tap k at offset k - n/2, scaled by the
/// continuous density's 1/(sqrt(2 pi) sigma) only: the taps do not sum to one. Empty for n <= 0.
std::vector<double> createGauss1D(int n, double sigma, int order);

/// Product kernel, cut to about 6 sigma around the centre and 0 beyond.
template <typename T>
Volume<T> createGaussianKernel3D(glm::ivec3 dims, glm::dvec3 sigma, glm::ivec3 order, bool wrap);
template <typename T>
Matrix<T> createGaussianKernel2D(glm::ivec2 dims, glm::dvec2 sigma, glm::ivec2 order, bool wrap);

/// Weighted direct convolution (the kernel as stored, not flipped), result in `image`:
///
///   out(p) = sum of image(q) weight(q) kernel(q - p + h),   h = kernel dimensions / 2,
///
/// over the taps inside the image whose weight is not exactly 0; with `normalize` divided by the
/// sum of weight(q) kernel where that is greater than 0. `weight` has the image's dimensions.
/// All in T, added with z outermost and x innermost. Where every tap is skipped the voxel is 0.
template <typename T>
void convolve3D(Volume<T>& image, const Volume<T>& kernel, const Volume<T>& weight, bool normalize);
/// The same in two dimensions, but where every tap is skipped the element keeps its value.
template <typename T>
void convolve2D(Matrix<T>& image, const Matrix<T>& kernel, const Matrix<T>& weight, bool normalize);

/// Circular convolution of `input` with a wrapped kernel of the same dimensions through the
/// host's FFT; the result lands in `input`.
/// @throws std::logic_error when the dimensions differ, std::bad_alloc or std::runtime_error when
///   the host's FFT gives no memory or no plan.
void fftwConvolve3D(Volume<float>& input, Volume<float>& kernel);

/// Smooths or differentiates `v` in place by FFT, after growing it by 7 replicated voxels on
/// every side so that nothing wraps around. `flag` is ignored.
template <typename T>
void applyGauss(Volume<T>& v, glm::dvec3 sigma, glm::ivec3 order, bool flag);

/// A copy of `v` passed through `applyGauss`.
template <typename T>
Volume<T> getAppliedGauss(const Volume<T>& v, glm::dvec3 sigma, glm::ivec3 order);

/// Central difference along y: (v(x, y+1, z) - v(x, y-1, z)) / 2; the first and last rows are 0.
template <typename T>
Volume<T> getSimpleYDerivative(const Volume<T>& v);

}  // namespace mirel
