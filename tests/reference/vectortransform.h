#pragma once

#include "containers/vector.h"

/// Centred coordinates and resampling of a vector at them.
namespace mirel::reference {

template <typename T>
Vector<T> getCoordinateVector(int n);
template <typename T>
Vector<T> transformCoordinateVector(const Vector<T>& v, T scale, T offset);
template <typename T>
Vector<T> linear(const Vector<T>& values, const Vector<T>& coords);
template <typename T>
Vector<T> linearCenter(const Vector<T>& values, const Vector<T>& coords);

}  // namespace mirel::reference
