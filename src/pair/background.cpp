#include "pair/background.h"

#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

#include "numerics/sortedvalues.h"
#include "pair/foreground.h"

namespace mirel {

namespace {

constexpr double firstPart = 0.1, lastPart = 0.01;  // of the voxels, in the densest interval
constexpr double negligible = 0.04;                 // of the head's level
constexpr double darker = 0.2;                      // of the head's level
constexpr double darkestPart = 0.001;               // of the voxels
constexpr double floorReach = 0.5;                  // of the mode

// The shortest interval that holds `count` of the values, the middle one of equals.
std::span<const float> densest(std::span<const float> values, std::size_t count) {
  std::size_t first = 0, last = 0;
  float shortest = values[count - 1] - values[0];
  for (std::size_t n = 1; n + count <= values.size(); ++n) {
    const float length = values[n + count - 1] - values[n];
    if (length > shortest) continue;
    last = n;
    if (length < shortest) first = n;
    shortest = length;
  }
  return values.subspan(first + (last - first) / 2, count);
}

double modeOf(std::span<const float> sorted) {
  const auto part = [&](double fraction) {
    return std::max<std::size_t>(
        static_cast<std::size_t>(fraction * static_cast<double>(sorted.size())), 1);
  };
  const std::size_t fewest = part(lastPart);
  std::span<const float> found = densest(sorted, part(firstPart));
  while (found.size() / 2 >= fewest && found.front() < found.back())
    found = densest(found, found.size() / 2);
  return static_cast<double>(found[found.size() / 2]);
}

// Mean of what an image exceeds `base` by, where that is more than Otsu's threshold.
double headLevel(const Volume<float>& image, double base) {
  Volume<float> above = image;
  above -= static_cast<float>(base);
  const double threshold = headThreshold(above);
  double sum = 0;
  std::size_t count = 0;
  for (int i = 0; i < above.size(); ++i) {
    const double v = static_cast<double>(above.data()[i]);
    if (!std::isfinite(v) || v <= threshold) continue;
    sum += v;
    ++count;
  }
  return threshold > 0 && count > 0 ? sum / static_cast<double>(count) : 0;
}

}  // namespace

double addedBackground(const Volume<float>& image) {
  const std::vector<float> sorted = sortedFinite(image);
  if (sorted.empty()) return 0;
  const double mode = modeOf(sorted);
  const double level = headLevel(image, mode);
  if (level <= 0 || std::abs(mode) <= negligible * level) return 0;
  const double darkest = static_cast<double>(
      sorted[static_cast<std::size_t>(darkestPart * static_cast<double>(sorted.size() - 1))]);
  if (mode - darkest > darker * level) return 0;
  if (darkest >= 0 && darkest < floorReach * mode) return 0;
  return mode;
}

}  // namespace mirel
