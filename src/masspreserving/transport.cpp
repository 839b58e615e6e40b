#include "masspreserving/transport.h"

#include <algorithm>
#include <cmath>

#include "masspreserving/linesolver.h"
#include "masspreserving/objective.h"

namespace mirel {

namespace {

// Edge coordinates below which the given ascending fractions of the profile's signal lie.
std::vector<double> quantiles(const std::vector<double>& profile, double total, int count) {
  std::vector<double> positions;
  double below = 0.0;
  std::size_t k = 0;
  for (int i = 0; i < count; ++i) {
    const double wanted = total * (i + 0.5) / count;
    while (k + 1 < profile.size() && below + profile[k] < wanted) below += profile[k++];
    const double part = profile[k] > 0.0 ? (wanted - below) / profile[k] : 0.0;
    positions.push_back(static_cast<double>(k) + std::clamp(part, 0.0, 1.0));
  }
  return positions;
}

std::vector<double> nonNegative(const std::vector<double>& profile, double& total) {
  std::vector<double> result;
  total = 0.0;
  for (const double v : profile) {
    result.push_back(std::isfinite(v) && v > 0.0 ? v : 0.0);
    total += result.back();
  }
  return result;
}

// The largest step between neighbours along y.
template <typename Real>
double steepest(const Volume<Real>& edges) {
  double largest = 0.0;
  for (int z = 0; z < edges.nz(); ++z)
    for (int j = 0; j + 1 < edges.ny(); ++j)
      for (int x = 0; x < edges.nx(); ++x)
        largest = std::max(largest, std::abs(static_cast<double>(edges.at(x, j + 1, z)) -
                                             static_cast<double>(edges.at(x, j, z))));
  return largest;
}

}  // namespace

std::vector<double> transportColumn(const std::vector<double>& first,
                                    const std::vector<double>& second) {
  const std::size_t n = first.size();
  std::vector<double> b(n + 1, 0.0);
  double total1 = 0.0, total2 = 0.0;
  const std::vector<double> p1 = nonNegative(first, total1), p2 = nonNegative(second, total2);
  if (!(total1 > 0.0) || !(total2 > 0.0)) return b;
  const int count = 2 * static_cast<int>(n);
  const std::vector<double> u1 = quantiles(p1, total1, count), u2 = quantiles(p2, total2, count);
  const auto place = [&](std::size_t i) { return 0.5 * (u1[i] + u2[i]); };
  const auto shift = [&](std::size_t i) { return 0.5 * (u1[i] - u2[i]); };
  std::size_t i = 0;
  for (std::size_t j = 0; j <= n; ++j) {
    const double y = static_cast<double>(j);
    while (i + 1 < u1.size() && place(i + 1) < y) ++i;
    const std::size_t next = std::min(i + 1, u1.size() - 1);
    const double gap = place(next) - place(i);
    const double share = gap > 0.0 ? std::clamp((y - place(i)) / gap, 0.0, 1.0) : 0.0;
    b[j] = (1.0 - share) * shift(i) + share * shift(next);
  }
  return b;
}

template <typename Real>
Volume<Real> transportStart(const Volume<float>& first, const Volume<float>& second,
                            glm::dvec3 spacing) {
  const glm::ivec3 size = first.dimensions();
  const glm::ivec3 edgeSize(size.x, size.y + 1, size.z);
  Volume<Real> target(edgeSize, Real(0)), weight(edgeSize, Real(0)), none(edgeSize, Real(0));
  std::vector<double> p1(static_cast<std::size_t>(size.y)), p2(p1);
  double squares = 0.0, fourths = 0.0;
  for (int z = 0; z < size.z; ++z)
    for (int x = 0; x < size.x; ++x) {
      for (int y = 0; y < size.y; ++y) {
        p1[static_cast<std::size_t>(y)] = first.at(x, y, z);
        p2[static_cast<std::size_t>(y)] = second.at(x, y, z);
      }
      double total1 = 0.0, total2 = 0.0;
      const std::vector<double> q1 = nonNegative(p1, total1), q2 = nonNegative(p2, total2);
      const double likeness = std::max(total1, total2) > 0.0
                                  ? std::min(total1, total2) / std::max(total1, total2)
                                  : 0.0;
      const std::vector<double> b = transportColumn(p1, p2);
      const auto at = [](const std::vector<double>& profile, double edge) {
        const double k = std::clamp(edge, 0.0, static_cast<double>(profile.size()) - 0.5);
        return profile[static_cast<std::size_t>(k)];
      };
      for (int j = 0; j <= size.y; ++j) {
        const double shift = b[static_cast<std::size_t>(j)];
        const double s = at(q1, j + shift) + at(q2, j - shift);
        target.at(x, j, z) = static_cast<Real>(shift);
        weight.at(x, j, z) = static_cast<Real>(s * s * likeness);
        squares += s * s;
        fourths += s * s * s * s;
      }
    }
  Volume<Real> start(edgeSize, Real(0));
  if (!(fourths > 0.0)) return start;
  weight *= static_cast<Real>(squares / fourths);
  Volume<Real> rhs = weight * target, scratch(edgeSize, Real(0));
  const Roughness<Real> roughness(edgeSize, spacing, 1.0, 0.0);
  const auto product = [&](const Volume<Real>& v, Volume<Real>& out) {
    roughness.apply(v, out, scratch);
    for (int i = 0; i < v.size(); ++i) out.data()[i] += weight.data()[i] * v.data()[i];
  };
  const LineSolver<Real> lines(roughness, weight, none);
  conjugateGradients<Real>(product, lines, rhs, start, 1e-3, 200);
  const double largest = steepest(start);
  if (largest > 0.9) start *= static_cast<Real>(0.9 / largest);
  return start;
}

template Volume<float> transportStart(const Volume<float>&, const Volume<float>&, glm::dvec3);
template Volume<double> transportStart(const Volume<float>&, const Volume<float>&, glm::dvec3);

}  // namespace mirel
