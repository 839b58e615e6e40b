#pragma once

#include "containers/vector.h"
#include "containers/volume.h"

/// Interpolation of volumes and columns, read off its definition. The containers have their own;
/// the reference does not lean on it.
namespace mirel::reference {

/// Trilinear interpolation in T, eight corners, corners outside the volume being 0. Positions
/// that are NaN or that an int cannot hold lie outside.
template <typename T>
T trilinear(const Volume<T>& volume, float x, float y, float z);

/// (x - x0)*b + (x1 - x)*a, samples outside the vector being 0; as above for NaN.
template <typename T>
T interpolate(const Vector<T>& vector, float x);

}  // namespace mirel::reference
