#include "picture/contour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <glm/geometric.hpp>

namespace mirel::picture {

namespace {

constexpr float rim = 0.85F, rimWeight = 0.55F;

float distance(glm::vec2 p, const Segment& s) {
  const glm::vec2 along = s.to - s.from;
  const float length2 = glm::dot(along, along);
  const float t =
      length2 > 0.0F ? std::clamp(glm::dot(p - s.from, along) / length2, 0.0F, 1.0F) : 0;
  return glm::length(p - (s.from + t * along));
}

// A square of four pixel centres: corners in turn, and where the level passes its four sides.
class Square {
 public:
  Square(std::array<glm::vec2, 4> places, std::array<float, 4> heights)
      : corners(places), heightsAbove(heights) {}

  // Two corners that are cut off on their own where two opposite ones are above.
  void addTo(std::vector<Segment>& line) const {
    std::array<int, 4> crossed{};
    int count = 0;
    for (int side = 0; side < 4; ++side)
      if (above(side) != above(side + 1)) crossed[static_cast<std::size_t>(count++)] = side;
    if (count == 2) line.push_back({crossing(crossed[0]), crossing(crossed[1])});
    if (count < 4) return;
    const int first = above(0) ? 0 : 1;  // each corner above lies between the sides c - 1 and c
    for (const int corner : {first, first + 2})
      line.push_back({crossing((corner + 3) % 4), crossing(corner)});
  }

 private:
  bool above(int corner) const { return heightsAbove[static_cast<std::size_t>(corner % 4)] > 0.0F; }
  glm::vec2 crossing(int side) const {
    const auto a = static_cast<std::size_t>(side), b = static_cast<std::size_t>((side + 1) % 4);
    const float t = heightsAbove[a] / (heightsAbove[a] - heightsAbove[b]);
    return corners[a] + (corners[b] - corners[a]) * t;
  }

  std::array<glm::vec2, 4> corners;
  std::array<float, 4> heightsAbove;
};

}  // namespace

std::vector<Segment> contourOf(const Cut& cut, float level) {
  const auto height = [&](int x, int y) {
    const std::size_t i = cut.index(x, y);
    return cut.covered[i] && std::isfinite(cut.values[i]) ? cut.values[i] - level
                                                          : -std::max(std::abs(level), 1e-6F);
  };
  std::vector<Segment> line;
  for (int y = 0; y + 1 < cut.height; ++y)
    for (int x = 0; x + 1 < cut.width; ++x) {
      const glm::vec2 p(static_cast<float>(x), static_cast<float>(y));
      Square({p, p + glm::vec2(1, 0), p + glm::vec2(1, 1), p + glm::vec2(0, 1)},
             {height(x, y), height(x + 1, y), height(x + 1, y + 1), height(x, y + 1)})
          .addTo(line);
    }
  return line;
}

void drawContour(RgbImage& image, const std::vector<Segment>& line, Colour colour, float width) {
  const float rimWidth = width + 2 * rim;
  // How much of each pixel the line covers; the pieces overlap, so that the most counts.
  const auto at = [&](int x, int y) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width()) +
           static_cast<std::size_t>(x);
  };
  std::vector<float> near(at(0, image.height()), rimWidth);
  const int reach = static_cast<int>(std::ceil(rimWidth));
  for (const Segment& s : line) {
    const glm::ivec2 low = glm::ivec2(glm::floor(glm::min(s.from, s.to))) - reach;
    const glm::ivec2 high = glm::ivec2(glm::ceil(glm::max(s.from, s.to))) + reach;
    for (int y = std::max(low.y, 0); y <= std::min(high.y, image.height() - 1); ++y)
      for (int x = std::max(low.x, 0); x <= std::min(high.x, image.width() - 1); ++x)
        near[at(x, y)] =
            std::min(near[at(x, y)], distance({static_cast<float>(x), static_cast<float>(y)}, s));
  }
  const auto cover = [](float d, float wide) { return std::clamp((wide + 1) / 2 - d, 0.0F, 1.0F); };
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) {
      const float d = near[at(x, y)];
      image.blend(x, y, {0, 0, 0}, rimWeight * cover(d, rimWidth));
      image.blend(x, y, colour, cover(d, width));
    }
}

}  // namespace mirel::picture
