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

namespace mirel {

namespace {

// Of every place the nearest voxel with a phase, and how many steps lie between.
struct Nearest {
  std::vector<int> voxel, steps;
};

template <class Do>
void forEachNeighbour(int n, glm::ivec3 dims, const Do& act) {
  const glm::ivec3 at(n % dims.x, n / dims.x % dims.y, n / (dims.x * dims.y));
  const glm::ivec3 strides(1, dims.x, dims.x * dims.y);
  for (int axis = 0; axis < 3; ++axis) {
    if (at[axis] > 0) act(n - strides[axis]);
    if (at[axis] + 1 < dims[axis]) act(n + strides[axis]);
  }
}

Nearest nearestOf(const Volume<float>& phase) {
  const auto count = static_cast<std::size_t>(phase.size());
  Nearest nearest{std::vector<int>(count, -1), std::vector<int>(count, 0)};
  std::vector<int> queue;
  queue.reserve(count);
  for (int n = 0; n < phase.size(); ++n)
    if (!std::isnan(phase.data()[n])) {
      nearest.voxel[static_cast<std::size_t>(n)] = n;
      queue.push_back(n);
    }
  for (std::size_t next = 0; next < queue.size(); ++next) {
    const auto from = static_cast<std::size_t>(queue[next]);
    forEachNeighbour(queue[next], phase.dimensions(), [&](int to) {
      const auto place = static_cast<std::size_t>(to);
      if (nearest.voxel[place] >= 0) return;
      nearest.voxel[place] = nearest.voxel[from];
      nearest.steps[place] = nearest.steps[from] + 1;
      queue.push_back(to);
    });
  }
  return nearest;
}

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
  const Nearest nearest = nearestOf(phase);
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
