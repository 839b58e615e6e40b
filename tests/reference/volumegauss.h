#pragma once

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <vector>

#include "containers/matrix.h"
#include "containers/volume.h"

/// Sampled Gaussians, convolution, smoothing and the derivative along y. The FFT forms go
/// through the same bound entry points as the engine's.
namespace mirel::reference {

std::vector<double> createGauss1D(int n, double sigma, int order);
template <typename T>
Volume<T> createGaussianKernel3D(glm::ivec3 dims, glm::dvec3 sigma, glm::ivec3 order, bool wrap);
template <typename T>
Matrix<T> createGaussianKernel2D(glm::ivec2 dims, glm::dvec2 sigma, glm::ivec2 order, bool wrap);
void convolve3D(Volume<float>& image, const Volume<float>& kernel, const Volume<float>& weight,
                bool normalize);
void convolve2D(Matrix<float>& image, const Matrix<float>& kernel, const Matrix<float>& weight,
                bool normalize);
void fftwConvolve3D(Volume<float>& input, Volume<float>& kernel);
template <typename T>
void applyGauss(Volume<T>& v, glm::dvec3 sigma, glm::ivec3 order, bool flag);
template <typename T>
Volume<T> getAppliedGauss(const Volume<T>& v, glm::dvec3 sigma, glm::ivec3 order);
template <typename T>
Volume<T> getSimpleYDerivative(const Volume<T>& v);

}  // namespace mirel::reference
