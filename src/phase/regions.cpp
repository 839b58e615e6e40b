#include "phase/regions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "numerics/statistics.h"
#include "phase/angle.h"
#include "phase/nearest.h"
#include "phase/neighbours.h"

namespace mirel {

namespace {

// Two sets that face each other: the phase of the first one's voxels less that of the other's.
struct Border {
  int first = 0, second = 0;
  int gap = std::numeric_limits<int>::max();
  std::vector<float> differences;

  void add(int steps, double difference) {
    if (steps > gap) return;
    if (steps < gap) differences.clear();
    gap = steps;
    differences.push_back(static_cast<float>(difference));
  }
};

std::vector<Border> bordersOf(const Volume<float>& phase, TurnSets& sets) {
  const Nearest nearest = nearestKnown(phase);
  const auto valueAt = [&](int voxel) {
    return static_cast<double>(phase.data()[voxel]) + turn * sets.turnsOf(voxel);
  };
  std::map<std::pair<int, int>, Border> borders;
  for (int n = 0; n < phase.size(); ++n) {
    const auto here = static_cast<std::size_t>(n);
    forEachNeighbour(n, phase.dimensions(), [&](int other) {
      const auto there = static_cast<std::size_t>(other);
      const int one = nearest.voxel[here], two = nearest.voxel[there];
      if (one < 0 || two < 0) return;
      const int first = sets.rootOf(one), second = sets.rootOf(two);
      if (first >= second) return;  // met once from each side
      Border& border = borders[{first, second}];
      border.first = first;
      border.second = second;
      border.add(nearest.steps[here] + nearest.steps[there] + 1, valueAt(one) - valueAt(two));
    });
  }
  std::vector<Border> list;
  for (auto& [sides, border] : borders) list.push_back(std::move(border));
  std::stable_sort(list.begin(), list.end(), [](const Border& a, const Border& b) {
    return a.gap != b.gap ? a.gap < b.gap : a.differences.size() > b.differences.size();
  });
  return list;
}

}  // namespace

int joinRegions(const Volume<float>& phase, TurnSets& sets) {
  std::set<int> roots;
  for (int n = 0; n < phase.size(); ++n)
    if (!std::isnan(phase.data()[n])) roots.insert(sets.rootOf(n));
  if (roots.size() > 1)
    for (Border& border : bordersOf(phase, sets)) {
      const auto difference = static_cast<double>(quantile(border.differences, 0.5));
      sets.join(border.first, border.second, static_cast<int>(std::round(difference / turn)));
    }
  return static_cast<int>(roots.size());
}

}  // namespace mirel
