#pragma once

#include <cmath>
#include <glm/vec3.hpp>
#include <limits>
#include <random>
#include <vector>

#include "containers/matrix.h"
#include "containers/vector.h"
#include "containers/volume.h"

namespace mirel {

/// Repeatable random data: the same seed gives the same values on every machine.
class Random {
 public:
  explicit Random(unsigned seed) : engine(seed) {}

  /// Uniform in lo .. hi.
  double uniform(double lo, double hi) {
    return lo + (hi - lo) * (static_cast<double>(engine()) / 4294967296.0);
  }
  float uniform(float lo, float hi) {
    return static_cast<float>(uniform(static_cast<double>(lo), static_cast<double>(hi)));
  }
  /// 0 .. n-1.
  int below(int n) { return static_cast<int>(engine() % static_cast<unsigned>(n)); }

  Volume<float> volume(glm::ivec3 dims, float lo, float hi) {
    Volume<float> v(dims);
    for (int i = 0; i < v.size(); ++i) v.data()[i] = uniform(lo, hi);
    return v;
  }
  Matrix<float> matrix(int rows, int columns, float lo, float hi) {
    Matrix<float> m(rows, columns);
    for (int i = 0; i < m.size(); ++i) m.data()[i] = uniform(lo, hi);
    return m;
  }
  Vector<float> vector(int n, float lo, float hi) {
    Vector<float> v(n);
    for (int i = 0; i < n; ++i) v[i] = uniform(lo, hi);
    return v;
  }
  std::vector<double> doubles(int n, double lo, double hi) {
    std::vector<double> v;
    for (int i = 0; i < n; ++i) v.push_back(uniform(lo, hi));
    return v;
  }

 private:
  std::mt19937 engine;
};

/// Sizes around what kernels are sensitive to: 1, 2, 3, odd, around 8, not cubic.
inline std::vector<glm::ivec3> testSizes() {
  return {{1, 1, 1}, {2, 2, 2},   {3, 3, 3},  {1, 5, 1},    {4, 1, 3},  {7, 2, 1},  {8, 9, 7},
          {9, 8, 5}, {17, 3, 16}, {5, 11, 2}, {16, 16, 16}, {3, 31, 4}, {12, 14, 9}};
}

/// Overwrites a few elements with NaN, infinities and values no index can hold.
template <typename Array>
void sprinkleOddValues(Array& array, Random& random) {
  if (array.size() == 0) return;
  const float inf = std::numeric_limits<float>::infinity();
  for (const float odd : {std::numeric_limits<float>::quiet_NaN(), inf, -inf, 3e38f, -3e9f})
    array.data()[random.below(array.size())] = odd;
}

/// A smooth object of random blobs, bright enough for the estimators' foreground (above 100), with
/// one blob cut by the image border.
inline Volume<float> blobs(glm::ivec3 dims, unsigned seed, float yShift = 0) {
  Random random(seed);
  Volume<float> v(dims, 5.0f);
  for (int blob = 0; blob < 6; ++blob) {
    const float cx = blob == 0 ? 0.0f : random.uniform(0.0f, static_cast<float>(dims.x));
    const float cy = random.uniform(0.1f, 0.9f) * static_cast<float>(dims.y) + yShift;
    const float cz = random.uniform(0.0f, static_cast<float>(dims.z));
    const float radius = random.uniform(1.5f, 3.5f), height = random.uniform(150.0f, 900.0f);
    for (int z = 0; z < dims.z; ++z)
      for (int y = 0; y < dims.y; ++y)
        for (int x = 0; x < dims.x; ++x) {
          const float dx = static_cast<float>(x) - cx, dy = static_cast<float>(y) - cy,
                      dz = static_cast<float>(z) - cz;
          v.at(x, y, z) +=
              height * std::exp(-(dx * dx + dy * dy + dz * dz) / (2 * radius * radius));
        }
  }
  for (int i = 0; i < v.size(); ++i) v.data()[i] += random.uniform(-2.0f, 2.0f);
  return v;
}

}  // namespace mirel
