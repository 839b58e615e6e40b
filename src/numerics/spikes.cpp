#include "numerics/spikes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>

#include "numerics/statistics.h"

namespace mirel {

namespace {

constexpr double rareFraction = 0.001;
constexpr std::size_t fewestRare = 20;  // twice the number that is to be found in small images
// Piled-up signal of real heads reaches 1.8 and 1.3, that of a sphere of water 3.1 and 1.8.
constexpr double farBeyond = 1.75, farBeyondNeighbours = 2.5;

// How far a value lies from the median. In double: floats may lie farther apart than one reaches.
struct Deviation {
  double median = 0;
  double operator()(float value) const { return std::abs(static_cast<double>(value) - median); }
};

// Calls `visit` with the index of each of the up to 26 voxels around one.
template <typename Visit>
void forNeighbours(glm::ivec3 dims, int index, Visit visit) {
  const glm::ivec3 at(index % dims.x, index / dims.x % dims.y, index / dims.x / dims.y);
  for (int z = std::max(at.z - 1, 0); z <= std::min(at.z + 1, dims.z - 1); ++z)
    for (int y = std::max(at.y - 1, 0); y <= std::min(at.y + 1, dims.y - 1); ++y)
      for (int x = std::max(at.x - 1, 0); x <= std::min(at.x + 1, dims.x - 1); ++x)
        if (const int other = (z * dims.y + y) * dims.x + x; other != index) visit(other);
}

// The deviation that only rare voxels exceed.
double commonDeviation(std::vector<float> values, const Deviation& deviation) {
  const std::size_t rare = std::max(
      fewestRare, static_cast<std::size_t>(rareFraction * static_cast<double>(values.size())));
  if (values.size() <= rare) return 0;
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(values.size() - 1 - rare);
  std::nth_element(values.begin(), at, values.end(),
                   [&](float a, float b) { return deviation(a) < deviation(b); });
  return deviation(*at);
}

class Search {
 public:
  Search(const Volume<float>& what, const Deviation& from) : image(what), deviation(from) {}

  Spikes among(std::set<int> candidates) const {
    Spikes spikes;
    while (!candidates.empty()) {
      std::vector<int> group = takeGroup(candidates);
      keepSpikes(group);
      spikes.voxels.insert(spikes.voxels.end(), group.begin(), group.end());
      // The brightest comes first.
      if (!group.empty() && (spikes.largest == 0.0f || of(group[0]) > deviation(spikes.largest)))
        spikes.largest = image.data()[group[0]];
    }
    std::sort(spikes.voxels.begin(), spikes.voxels.end());
    return spikes;
  }

 private:
  double of(int voxel) const { return deviation(image.data()[voxel]); }

  // The candidates that touch the first of those left, and each other.
  std::vector<int> takeGroup(std::set<int>& left) const {
    std::vector<int> group = {*left.begin()};
    left.erase(left.begin());
    for (std::size_t n = 0; n < group.size(); ++n)
      forNeighbours(image.dimensions(), group[n], [&](int i) {
        if (left.erase(i) > 0) group.push_back(i);
      });
    return group;
  }

  // Leaves the brightest that stand out of all around them.
  void keepSpikes(std::vector<int>& group) const {
    std::sort(group.begin(), group.end(), [&](int a, int b) { return of(a) > of(b); });
    while (!group.empty() && !standsOut(group)) {
      const double next = of(group.back());
      // As far as the next step down that is large enough.
      do group.pop_back();
      while (!group.empty() && !(of(group.back()) > farBeyondNeighbours * next));
    }
  }

  bool standsOut(const std::vector<int>& group) const {
    const std::set<int> members(group.begin(), group.end());
    double around = 0;
    for (const int spike : group)
      forNeighbours(image.dimensions(), spike, [&](int i) {
        if (std::isfinite(image.data()[i]) && members.count(i) == 0)
          around = std::max(around, of(i));
      });
    return of(group.back()) > farBeyondNeighbours * around;
  }

  const Volume<float>& image;
  const Deviation& deviation;
};

}  // namespace

Spikes findSpikes(const Volume<float>& image) {
  std::vector<float> values;
  values.reserve(static_cast<std::size_t>(image.size()));
  std::copy_if(image.data(), image.data() + image.size(), std::back_inserter(values),
               [](float v) { return std::isfinite(v); });
  if (values.empty()) return {};
  const Deviation deviation{static_cast<double>(valueOfRank(values, values.size() / 2))};
  const double common = commonDeviation(std::move(values), deviation);
  if (!(common > 0)) return {};
  std::set<int> candidates;
  for (int i = 0; i < image.size(); ++i)
    if (std::isfinite(image.data()[i]) && deviation(image.data()[i]) > farBeyond * common)
      candidates.insert(i);
  return Search(image, deviation).among(std::move(candidates));
}

Volume<float> withoutSpikes(const Volume<float>& image, const Spikes& spikes) {
  Volume<float> result = image;
  for (const int spike : spikes.voxels) {
    std::vector<float> around;
    forNeighbours(image.dimensions(), spike, [&](int i) {
      if (std::isfinite(image.data()[i]) &&
          !std::binary_search(spikes.voxels.begin(), spikes.voxels.end(), i))
        around.push_back(image.data()[i]);
    });
    result.data()[spike] = around.empty() ? 0.0f : valueOfRank(around, around.size() / 2);
  }
  return result;
}

Volume<float> withoutSpikes(Volume<float> image) {
  const Spikes spikes = findSpikes(image);
  return spikes.empty() ? std::move(image) : withoutSpikes(image, spikes);
}

}  // namespace mirel
