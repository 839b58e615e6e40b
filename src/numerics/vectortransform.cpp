#include "numerics/vectortransform.h"

namespace mirel {

template <typename T>
Vector<T> getCoordinateVector(int n) {
  Vector<T> result(n);
  for (int i = 0; i < n; ++i) result[i] = static_cast<T>(i - n * 0.5);
  return result;
}

template <typename T>
Vector<T> transformCoordinateVector(const Vector<T>& v, T scale, T offset) {
  return v * scale + offset;
}

template <typename T>
Vector<T> linear(const Vector<T>& values, const Vector<T>& coords) {
  Vector<T> result(coords.size());
  for (int i = 0; i < coords.size(); ++i) result[i] = values.linear(static_cast<float>(coords[i]));
  return result;
}

template <typename T>
Vector<T> linearCenter(const Vector<T>& values, const Vector<T>& coords) {
  return linear(values, coords + static_cast<T>(coords.size() * 0.5));
}

#define MIREL_INSTANTIATE(T)                                            \
  template Vector<T> getCoordinateVector(int);                          \
  template Vector<T> transformCoordinateVector(const Vector<T>&, T, T); \
  template Vector<T> linear(const Vector<T>&, const Vector<T>&);        \
  template Vector<T> linearCenter(const Vector<T>&, const Vector<T>&);
MIREL_INSTANTIATE(float)
MIREL_INSTANTIATE(double)
#undef MIREL_INSTANTIATE

}  // namespace mirel
