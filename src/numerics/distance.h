#pragma once

#include <glm/vec3.hpp>
#include <vector>

#include "containers/vector.h"
#include "containers/volume.h"

namespace mirel {

/// How different two images, two listed regions of them or two columns are. Float inputs, double
/// results. Volumes have equal dimensions and vectors equal sizes, else std::logic_error before
/// anything is summed.
///
/// Squared differences: the difference a - b in single precision, squared and summed in double.
/// Correlations: the five sums in single precision, only the final roots and division in double;
/// logged values and search decisions depend on exactly that. Without a guard: a constant image
/// gives an infinite or NaN correlation, and so does an empty list.

/// Sum over all voxels of (a - b)^2.
template <typename T>
double ssd(const Volume<T>& a, const Volume<T>& b);

/// Normalised cross-correlation over all voxels:
/// (Sab*N - Sb*Sa) / (sqrt(Sbb*N - Sb*Sb) * sqrt(Saa*N - Sa*Sa)).
template <typename T>
double ncc(const Volume<T>& a, const Volume<T>& b);

/// The same over the listed voxels, in list order; a voxel counts as often as it is listed, and
/// all lie inside the volumes. `ssd` of an empty list is 0.
template <typename T>
double ssd(const Volume<T>& a, const Volume<T>& b, const std::vector<glm::ivec3>& voxels);
template <typename T>
double ncc(const Volume<T>& a, const Volume<T>& b, const std::vector<glm::ivec3>& voxels);

/// Mean squared difference; NaN for no elements.
template <typename T>
double ssd_norm(const Volume<T>& a, const Volume<T>& b);

template <typename T>
double ssd(const Vector<T>& a, const Vector<T>& b);
template <typename T>
double ssd_norm(const Vector<T>& a, const Vector<T>& b);

/// Mean squared difference over the pairs of which neither element is background, exactly 0
/// (NaN is not background); 0 when there is no such pair.
template <typename T>
double ssd_norm_nonbackground(const Vector<T>& a, const Vector<T>& b);

}  // namespace mirel
