#include "phase/nearest.h"

#include <cmath>

#include "phase/neighbours.h"

namespace mirel {

Nearest nearestKnown(const Volume<float>& known) {
  const auto count = static_cast<std::size_t>(known.size());
  Nearest nearest{std::vector<int>(count, -1), std::vector<int>(count, 0)};
  std::vector<int> queue;
  queue.reserve(count);
  for (int n = 0; n < known.size(); ++n)
    if (!std::isnan(known.data()[n])) {
      nearest.voxel[static_cast<std::size_t>(n)] = n;
      queue.push_back(n);
    }
  for (std::size_t next = 0; next < queue.size(); ++next) {
    const auto from = static_cast<std::size_t>(queue[next]);
    forEachNeighbour(queue[next], known.dimensions(), [&](int to) {
      const auto place = static_cast<std::size_t>(to);
      if (nearest.voxel[place] >= 0) return;
      nearest.voxel[place] = nearest.voxel[from];
      nearest.steps[place] = nearest.steps[from] + 1;
      queue.push_back(to);
    });
  }
  return nearest;
}

Volume<double> nearestValues(const Volume<float>& known) {
  const Nearest nearest = nearestKnown(known);
  Volume<double> values(known.dimensions(), 0.0);
  for (int n = 0; n < values.size(); ++n)
    if (const int from = nearest.voxel[static_cast<std::size_t>(n)]; from >= 0)
      values.data()[n] = static_cast<double>(known.data()[from]);
  return values;
}

}  // namespace mirel
