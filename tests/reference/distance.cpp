#include "reference/distance.h"

#include <cmath>

namespace mirel::reference {

namespace {

double squaredDifference(float a, float b) {
  const float difference = a - b;
  return static_cast<double>(difference) * static_cast<double>(difference);
}

struct Sums {
  float a = 0, aa = 0, b = 0, bb = 0, ab = 0;

  void add(float va, float vb) {
    a = a + va;
    aa = aa + va * va;
    b = b + vb;
    bb = bb + vb * vb;
    ab = ab + va * vb;
  }

  double correlation(float n) const {
    const float num = ab * n - b * a;
    const float varA = aa * n - a * a;
    const float varB = bb * n - b * b;
    return static_cast<double>(num) /
           (std::sqrt(static_cast<double>(varB)) * std::sqrt(static_cast<double>(varA)));
  }
};

}  // namespace

double ssd(const Volume<float>& a, const Volume<float>& b) {
  double sum = 0.0;
  for (int z = 0; z < a.nz(); ++z)
    for (int y = 0; y < a.ny(); ++y)
      for (int x = 0; x < a.nx(); ++x) sum += squaredDifference(a.at(x, y, z), b.at(x, y, z));
  return sum;
}

double ncc(const Volume<float>& a, const Volume<float>& b) {
  Sums sums;
  for (int z = 0; z < a.nz(); ++z)
    for (int y = 0; y < a.ny(); ++y)
      for (int x = 0; x < a.nx(); ++x) sums.add(a.at(x, y, z), b.at(x, y, z));
  return sums.correlation(static_cast<float>(a.nx() * a.ny() * a.nz()));
}

double ssd(const Volume<float>& a, const Volume<float>& b, const std::vector<glm::ivec3>& voxels) {
  double sum = 0.0;
  for (const glm::ivec3& p : voxels) sum += squaredDifference(a[p], b[p]);
  return sum;
}

double ncc(const Volume<float>& a, const Volume<float>& b, const std::vector<glm::ivec3>& voxels) {
  Sums sums;
  for (const glm::ivec3& p : voxels) sums.add(a[p], b[p]);
  return sums.correlation(static_cast<float>(voxels.size()));
}

double ssd_norm(const Volume<float>& a, const Volume<float>& b) {
  return ssd(a, b) / static_cast<double>(a.nx() * a.ny() * a.nz());
}

double ssd(const Vector<float>& a, const Vector<float>& b) {
  double sum = 0.0;
  for (int i = 0; i < a.size(); ++i) sum += squaredDifference(a[i], b[i]);
  return sum;
}

double ssd_norm(const Vector<float>& a, const Vector<float>& b) {
  return ssd(a, b) / static_cast<double>(a.size());
}

double ssd_norm_nonbackground(const Vector<float>& a, const Vector<float>& b) {
  double sum = 0.0;
  int m = 0;
  for (int i = 0; i < a.size(); ++i)
    if (a[i] != 0.0f && b[i] != 0.0f) {
      sum += squaredDifference(a[i], b[i]);
      m += 1;
    }
  return m == 0 ? sum / 1.0 : sum / m;
}

}  // namespace mirel::reference
