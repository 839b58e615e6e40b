#include "phantom/distort.h"

#include <algorithm>
#include <cmath>
#include <glm/common.hpp>
#include <stdexcept>
#include <vector>

namespace mirel {

namespace {

// Cubic convolution (Keys 1981, a = -1/2) of one line at `position`, clamped at the ends.
double cubicAt(const std::vector<double>& line, double position) {
  const int n = static_cast<int>(line.size());
  const double base = std::floor(position), t = position - base;
  const auto at = [&](int i) {
    return line[static_cast<std::size_t>(std::clamp(static_cast<int>(base) + i, 0, n - 1))];
  };
  const double p0 = at(-1), p1 = at(0), p2 = at(1), p3 = at(2);
  return p1 + 0.5 * t *
                  (p2 - p0 +
                   t * (2.0 * p0 - 5.0 * p1 + 4.0 * p2 - p3 + t * (3.0 * (p1 - p2) + p3 - p0)));
}

// Adds `mass` spread evenly over [from, to] to the voxels, voxel i covering [i - 1/2, i + 1/2].
void spread(std::vector<double>& voxels, double from, double to, double mass) {
  if (!std::isfinite(from) || !std::isfinite(to)) return;
  if (from > to) std::swap(from, to);
  const double n = static_cast<double>(voxels.size());
  const double low = std::max(from + 0.5, 0.0), high = std::min(to + 0.5, n);
  if (to - from < 1e-9) {  // all in one place
    if (from + 0.5 >= 0.0 && from + 0.5 < n) voxels[static_cast<std::size_t>(from + 0.5)] += mass;
    return;
  }
  const double perVoxel = mass / (to - from);
  for (double start = low; start < high;) {
    const double stop = std::min(std::floor(start) + 1.0, high);
    voxels[static_cast<std::size_t>(start)] += perVoxel * (stop - start);
    start = stop;
  }
}

// One column: `density` has `cells` entries per voxel of `shift`.
std::vector<double> pushColumn(const std::vector<double>& density, const std::vector<double>& shift,
                               int cells) {
  std::vector<double> image(shift.size(), 0.0);
  const auto edge = [&](std::size_t k) {
    const double y = static_cast<double>(k) / cells - 0.5;
    return y + cubicAt(shift, y);
  };
  double from = edge(0);
  for (std::size_t k = 0; k < density.size(); ++k) {
    const double to = edge(k + 1);
    if (density[k] != 0.0) spread(image, from, to, density[k] / cells);
    from = to;
  }
  return image;
}

}  // namespace

Volume<float> distort(const Volume<float>& density, const Volume<float>& shiftVoxels,
                      PhaseEncodingAxis axis, int cellsPerVoxel) {
  const glm::ivec3 size = shiftVoxels.dimensions();
  if (cellsPerVoxel < 1 ||
      density.dimensions() != glm::ivec3(size.x * cellsPerVoxel, size.y * cellsPerVoxel, size.z))
    throw std::invalid_argument("density and shift of a distortion do not have matching sizes");

  Volume<float> image(size, 0.0F);
  const bool alongY = axis == PhaseEncodingAxis::y;
  const int length = alongY ? size.y : size.x, across = alongY ? size.x : size.y;
  std::vector<double> column(static_cast<std::size_t>(length * cellsPerVoxel));
  std::vector<double> shift(static_cast<std::size_t>(length));
  for (int z = 0; z < size.z; ++z)
    for (int a = 0; a < across; ++a) {
      for (int i = 0; i < length; ++i)
        shift[static_cast<std::size_t>(i)] =
            alongY ? shiftVoxels.at(a, i, z) : shiftVoxels.at(i, a, z);
      for (int i = 0; i < length * cellsPerVoxel; ++i) {
        double sum = 0.0;
        for (int c = a * cellsPerVoxel; c < (a + 1) * cellsPerVoxel; ++c)
          sum += alongY ? density.at(c, i, z) : density.at(i, c, z);
        column[static_cast<std::size_t>(i)] = sum / cellsPerVoxel;
      }
      const std::vector<double> pushed = pushColumn(column, shift, cellsPerVoxel);
      for (int i = 0; i < length; ++i)
        (alongY ? image.at(a, i, z) : image.at(i, a, z)) =
            static_cast<float>(pushed[static_cast<std::size_t>(i)]);
    }
  return image;
}

Volume<float> shiftDerivative(const Volume<float>& shiftVoxels, PhaseEncodingAxis axis) {
  const glm::ivec3 size = shiftVoxels.dimensions();
  const glm::ivec3 step = axis == PhaseEncodingAxis::y ? glm::ivec3(0, 1, 0) : glm::ivec3(1, 0, 0);
  Volume<float> derivative(size, 0.0F);
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x) {
        const glm::ivec3 p(x, y, z);
        const glm::ivec3 before = glm::max(p - step, 0), after = glm::min(p + step, size - 1);
        const int distance = after.x - before.x + after.y - before.y;
        if (distance > 0)
          derivative[p] = (shiftVoxels[after] - shiftVoxels[before]) / static_cast<float>(distance);
      }
  return derivative;
}

}  // namespace mirel
