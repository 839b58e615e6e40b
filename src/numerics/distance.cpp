#include "numerics/distance.h"

#include <cmath>

#include "base/assertion.h"

namespace mirel {

namespace {

constexpr const char* distanceSource = "src/numerics/distance.cpp";

double squaredDifference(float a, float b) {
  const double difference = a - b;
  return difference * difference;
}

// The five single-precision sums of the normalised cross-correlation.
struct CorrelationSums {
  float a = 0, aa = 0, b = 0, bb = 0, ab = 0;

  void add(float va, float vb) {
    a += va;
    aa += va * va;
    b += vb;
    bb += vb * vb;
    ab += va * vb;
  }

  double correlation(float n) const {
    const float numerator = ab * n - b * a;
    const float varianceA = aa * n - a * a;
    const float varianceB = bb * n - b * b;
    return static_cast<double>(numerator) /
           (std::sqrt(static_cast<double>(varianceB)) * std::sqrt(static_cast<double>(varianceA)));
  }
};

}  // namespace

template <typename T>
double ssd(const Volume<T>& a, const Volume<T>& b) {
  require(a.dimensions() == b.dimensions(), distanceSource, 15, "dim1 == dim2");
  double sum = 0.0;
  for (int i = 0; i < a.size(); ++i) sum += squaredDifference(a.data()[i], b.data()[i]);
  return sum;
}

template <typename T>
double ncc(const Volume<T>& a, const Volume<T>& b) {
  require(a.dimensions() == b.dimensions(), distanceSource, 37, "dim1 == dim2");
  CorrelationSums sums;
  for (int i = 0; i < a.size(); ++i) sums.add(a.data()[i], b.data()[i]);
  return sums.correlation(static_cast<float>(a.size()));
}

template <typename T>
double ssd(const Volume<T>& a, const Volume<T>& b, const std::vector<glm::ivec3>& voxels) {
  require(a.dimensions() == b.dimensions(), distanceSource, 63,
          "vol1.dimensions() == vol2.dimensions()");
  double sum = 0.0;
  for (const glm::ivec3& p : voxels) sum += squaredDifference(a[p], b[p]);
  return sum;
}

template <typename T>
double ncc(const Volume<T>& a, const Volume<T>& b, const std::vector<glm::ivec3>& voxels) {
  require(a.dimensions() == b.dimensions(), distanceSource, 76,
          "vol1.dimensions() == vol2.dimensions()");
  CorrelationSums sums;
  for (const glm::ivec3& p : voxels) sums.add(a[p], b[p]);
  return sums.correlation(static_cast<float>(voxels.size()));
}

template <typename T>
double ssd_norm(const Volume<T>& a, const Volume<T>& b) {
  return ssd(a, b) / static_cast<double>(a.size());
}

template <typename T>
double ssd(const Vector<T>& a, const Vector<T>& b) {
  require(a.size() == b.size(), distanceSource, 109, "vec1.size() == vec2.size()");
  double sum = 0.0;
  for (int i = 0; i < a.size(); ++i) sum += squaredDifference(a[i], b[i]);
  return sum;
}

template <typename T>
double ssd_norm(const Vector<T>& a, const Vector<T>& b) {
  return ssd(a, b) / static_cast<double>(a.size());
}

template <typename T>
double ssd_norm_nonbackground(const Vector<T>& a, const Vector<T>& b) {
  require(a.size() == b.size(), distanceSource, 133, "vec1.size() == vec2.size()");
  double sum = 0.0;
  int count = 0;
  for (int i = 0; i < a.size(); ++i) {
    if (a[i] == 0 || b[i] == 0) continue;
    sum += squaredDifference(a[i], b[i]);
    ++count;
  }
  return sum / (count == 0 ? 1.0 : static_cast<double>(count));
}

using Voxels = std::vector<glm::ivec3>;
template double ssd(const Volume<float>&, const Volume<float>&);
template double ncc(const Volume<float>&, const Volume<float>&);
template double ssd(const Volume<float>&, const Volume<float>&, const Voxels&);
template double ncc(const Volume<float>&, const Volume<float>&, const Voxels&);
template double ssd_norm(const Volume<float>&, const Volume<float>&);
template double ssd(const Vector<float>&, const Vector<float>&);
template double ssd_norm(const Vector<float>&, const Vector<float>&);
template double ssd_norm_nonbackground(const Vector<float>&, const Vector<float>&);

}  // namespace mirel
