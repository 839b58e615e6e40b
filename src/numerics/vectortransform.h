#pragma once

#include "containers/vector.h"

namespace mirel {

/// One-dimensional coordinates and resampling, for float and double. Coordinates are in samples;
/// samples outside a vector count as 0 (`Vector::linear`).

/// Centred coordinates: element i is i - n*0.5. For even n element n/2 is 0; for odd n all
/// elements are half-integers.
template <typename T>
Vector<T> getCoordinateVector(int n);

/// v*scale + offset, element by element.
template <typename T>
Vector<T> transformCoordinateVector(const Vector<T>& v, T scale, T offset);

/// Element i is values.linear(coords[i]).
template <typename T>
Vector<T> linear(const Vector<T>& values, const Vector<T>& coords);

/// The same at coords + coords.size()*0.5, which undoes the centring of `getCoordinateVector`.
/// The offset follows the size of the coordinate vector, not of the values.
template <typename T>
Vector<T> linearCenter(const Vector<T>& values, const Vector<T>& coords);

}  // namespace mirel
