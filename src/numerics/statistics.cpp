#include "numerics/statistics.h"

#include <algorithm>
#include <cmath>

namespace mirel {

namespace {

// `forEach(visit)` calls visit(index) for every voxel that counts, the same ones each time.
template <typename ForEach>
double correlationOver(const Volume<float>& a, const Volume<float>& b, ForEach forEach) {
  double n = 0, sumA = 0, sumB = 0;
  forEach([&](int i) {
    n += 1;
    sumA += static_cast<double>(a.data()[i]);
    sumB += static_cast<double>(b.data()[i]);
  });
  const double meanA = sumA / n, meanB = sumB / n;
  double aa = 0, bb = 0, ab = 0;
  forEach([&](int i) {
    const double da = static_cast<double>(a.data()[i]) - meanA;
    const double db = static_cast<double>(b.data()[i]) - meanB;
    aa += da * da;
    bb += db * db;
    ab += da * db;
  });
  return ab / std::sqrt(aa * bb);
}

}  // namespace

float valueOfRank(std::vector<float>& values, std::size_t rank) {
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(rank);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

float quantile(std::vector<float>& values, double fraction) {
  const double rank = fraction * static_cast<double>(values.size() - 1) + 0.5;
  return valueOfRank(values, static_cast<std::size_t>(rank));
}

ClassBorder otsuBorder(std::span<const double> histogram) {
  double total = 0, moment = 0;
  for (std::size_t b = 0; b < histogram.size(); ++b) {
    total += histogram[b];
    moment += histogram[b] * static_cast<double>(b);
  }
  ClassBorder border;
  double best = 0, count = 0, sum = 0;
  for (std::size_t b = 0; b + 1 < histogram.size(); ++b) {
    count += histogram[b];
    sum += histogram[b] * static_cast<double>(b);
    if (count == 0 || count == total) continue;
    const double distance = (moment - sum) / (total - count) - sum / count;
    const double merit = count * (total - count) * distance * distance;
    if (merit > best) {
      best = merit;
      border.first = static_cast<int>(b);
    }
    if (merit == best) border.last = static_cast<int>(b);
  }
  return border;
}

bool isFinite(const Volume<float>& volume) {
  return std::all_of(volume.data(), volume.data() + volume.size(),
                     [](float v) { return std::isfinite(v); });
}

double correlation(const Volume<float>& a, const Volume<float>& b) {
  return correlationOver(a, b, [&](auto visit) {
    for (int i = 0; i < a.size(); ++i) visit(i);
  });
}

double correlation(const Volume<float>& a, const Volume<float>& b, const Volume<float>& mask) {
  return correlationOver(a, b, [&](auto visit) {
    for (int i = 0; i < mask.size(); ++i)
      if (mask.data()[i] != 0.0f) visit(i);
  });
}

double correlation(const Volume<float>& a, const Volume<float>& b, std::span<const int> voxels) {
  return correlationOver(a, b, [&](auto visit) {
    for (const int i : voxels) visit(i);
  });
}

}  // namespace mirel
