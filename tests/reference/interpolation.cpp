#include "reference/interpolation.h"

#include <cmath>

namespace mirel::reference {

namespace {

bool fitsInt(float x) { return std::abs(x) < 1e9f; }

int lowerCorner(float x) { return static_cast<int>(x + 2.0f) - 2; }

}  // namespace

template <typename T>
T trilinear(const Volume<T>& v, float x, float y, float z) {
  if (!fitsInt(x) || !fitsInt(y) || !fitsInt(z)) return T(0);
  const int x0 = lowerCorner(x), y0 = lowerCorner(y), z0 = lowerCorner(z);
  const int x1 = x0 + 1, y1 = y0 + 1, z1 = z0 + 1;
  const T fx = T(x) - T(x0), fy = T(y) - T(y0), fz = T(z) - T(z0);
  const T gx = T(1) - fx, gy = T(1) - fy, gz = T(1) - fz;
  T sum = v.get(x0, y0, z0) * ((gx * gy) * gz);
  sum = sum + v.get(x0, y0, z1) * ((gx * gy) * fz);
  sum = sum + v.get(x0, y1, z0) * ((gx * fy) * gz);
  sum = sum + v.get(x0, y1, z1) * ((gx * fy) * fz);
  sum = sum + v.get(x1, y0, z0) * ((fx * gy) * gz);
  sum = sum + v.get(x1, y0, z1) * ((fx * gy) * fz);
  sum = sum + v.get(x1, y1, z0) * ((fx * fy) * gz);
  sum = sum + v.get(x1, y1, z1) * ((fx * fy) * fz);
  return sum;
}

template <typename T>
T interpolate(const Vector<T>& v, float x) {
  if (!fitsInt(x)) return T(0);
  const int x0 = lowerCorner(x);
  const int x1 = x0 + 1;
  const T a = x0 >= 0 && x0 < v.size() ? v[x0] : T(0);
  const T b = x1 >= 0 && x1 < v.size() ? v[x1] : T(0);
  return (x - static_cast<float>(x0)) * b + (static_cast<float>(x1) - x) * a;
}

template float trilinear(const Volume<float>&, float, float, float);
template double trilinear(const Volume<double>&, float, float, float);
template float interpolate(const Vector<float>&, float);
template double interpolate(const Vector<double>&, float);

}  // namespace mirel::reference
