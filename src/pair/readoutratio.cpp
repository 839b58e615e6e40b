#include "pair/readoutratio.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "numerics/interpolation.h"

namespace mirel {

namespace {

// Fills a row: what stands at j goes to j + along * map[j], times factor. Where the row folds, the
// farthest place so far counts.
void carryRow(const std::vector<double>& values, const std::vector<double>& map, double along,
              double factor, std::vector<double>& result) {
  const int n = static_cast<int>(values.size());
  std::vector<double> places;
  for (int j = 0; j < n; ++j) {
    const double place = j + along * map[static_cast<std::size_t>(j)];
    places.push_back(j == 0 ? place : std::max(place, places.back() + 1e-3));
  }
  const auto at = [&](int j) { return values[static_cast<std::size_t>(std::clamp(j, 0, n - 1))]; };
  for (int i = 0; i < n; ++i) {
    const auto above = std::upper_bound(places.begin(), places.end(), static_cast<double>(i));
    double& value = result[static_cast<std::size_t>(i)];
    if (above == places.begin() || above == places.end()) {
      value = factor * (above == places.begin() ? values.front() : values.back());
      continue;
    }
    const int j = static_cast<int>(above - places.begin()) - 1;
    const double low = *(above - 1);
    value = factor *
            cubicConvolution(at(j - 1), at(j), at(j + 1), at(j + 2), (i - low) / (*above - low));
  }
}

Volume<float> carried(const Volume<float>& values, const Volume<float>& map, double along,
                      double factor, int axis) {
  Volume<float> result = values;
  const glm::ivec3 n = values.dimensions();
  const auto length = static_cast<std::size_t>(n[axis]);
  const int across = axis == 0 ? 1 : 0, third = axis == 2 ? 1 : 2;
  std::vector<double> ofValues(length), ofMap(length), moved(length);
  glm::ivec3 p(0);
  for (p[third] = 0; p[third] < n[third]; ++p[third])
    for (p[across] = 0; p[across] < n[across]; ++p[across]) {
      for (p[axis] = 0; p[axis] < n[axis]; ++p[axis]) {
        ofValues[static_cast<std::size_t>(p[axis])] = static_cast<double>(values.get(p));
        ofMap[static_cast<std::size_t>(p[axis])] = static_cast<double>(map.get(p));
      }
      carryRow(ofValues, ofMap, along, factor, moved);
      for (p[axis] = 0; p[axis] < n[axis]; ++p[axis])
        result.at(p.x, p.y, p.z) = static_cast<float>(moved[static_cast<std::size_t>(p[axis])]);
    }
  return result;
}

}  // namespace

double partOfSecond(const PairInput& pair) {
  const auto &first = pair.a.acquisition.readout, &second = pair.b.acquisition.readout;
  if (!pair.readoutSeconds || !first || !second) return 1;
  const double a = first->seconds, b = second->seconds;
  return std::abs(a - b) > readoutTolerance * std::max(a, b) ? b / a : 1;
}

Volume<float> mapOfSecond(const PairInput& pair, const Volume<float>& d) {
  return d * static_cast<float>(-partOfSecond(pair));
}

Volume<float> fromHalfWay(const Volume<float>& values, const Volume<float>& b, double r, int axis) {
  return r == 1 ? values : carried(values, b, -(1 - r) / (1 + r), 2 / (1 + r), axis);
}

Volume<float> toHalfWay(const Volume<float>& d, double r, int axis) {
  return r == 1 ? d : carried(d, d, (1 - r) / 2, (1 + r) / 2, axis);
}

}  // namespace mirel
