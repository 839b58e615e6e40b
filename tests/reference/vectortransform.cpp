#include "reference/vectortransform.h"

#include "reference/interpolation.h"

namespace mirel::reference {

template <typename T>
Vector<T> getCoordinateVector(int n) {
  Vector<T> q(n);
  for (int i = 0; i < n; ++i) q[i] = static_cast<T>(i - n * 0.5);
  return q;
}

template <typename T>
Vector<T> transformCoordinateVector(const Vector<T>& v, T scale, T offset) {
  Vector<T> result(v.size());
  for (int i = 0; i < v.size(); ++i) result[i] = v[i] * scale + offset;
  return result;
}

template <typename T>
Vector<T> linear(const Vector<T>& values, const Vector<T>& coords) {
  Vector<T> result(coords.size());
  for (int i = 0; i < coords.size(); ++i)
    result[i] = interpolate(values, static_cast<float>(coords[i]));
  return result;
}

template <typename T>
Vector<T> linearCenter(const Vector<T>& values, const Vector<T>& coords) {
  Vector<T> shifted(coords.size());
  for (int i = 0; i < coords.size(); ++i)
    shifted[i] = coords[i] + static_cast<T>(coords.size() * 0.5);
  return linear(values, shifted);
}

template Vector<float> getCoordinateVector(int);
template Vector<double> getCoordinateVector(int);
template Vector<float> transformCoordinateVector(const Vector<float>&, float, float);
template Vector<double> transformCoordinateVector(const Vector<double>&, double, double);
template Vector<float> linear(const Vector<float>&, const Vector<float>&);
template Vector<double> linear(const Vector<double>&, const Vector<double>&);
template Vector<float> linearCenter(const Vector<float>&, const Vector<float>&);
template Vector<double> linearCenter(const Vector<double>&, const Vector<double>&);

}  // namespace mirel::reference
