#include "report/slices.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "picture/orient.h"

namespace mirel::report {

namespace {

using picture::SlicePlane;

constexpr int apart = 3;
constexpr double leastHead = 0.5;

// Of the slices across one axis of the array.
struct SliceSums {
  std::vector<double> head, shift;

  SliceSums(const Volume<float>& mask, const Volume<float>& values, int axis) {
    const glm::ivec3 dims = mask.dimensions();
    head.resize(static_cast<std::size_t>(dims[axis]));
    shift.resize(head.size());
    const float* inside = mask.data();
    const float* value = values.data();
    for (int z = 0; z < dims.z; ++z)
      for (int y = 0; y < dims.y; ++y)
        for (int x = 0; x < dims.x; ++x, ++inside, ++value) {
          if (*inside == 0.0F || !std::isfinite(*value)) continue;
          const auto n = static_cast<std::size_t>(glm::ivec3(x, y, z)[axis]);
          head[n] += 1;
          shift[n] += std::abs(static_cast<double>(*value));
        }
  }

  int middle() const {
    double all = 0, below = 0;
    for (const double count : head) all += count;
    if (all == 0) return static_cast<int>(head.size() / 2);
    for (std::size_t n = 0; n < head.size(); ++n)
      if ((below += head[n]) >= all / 2) return static_cast<int>(n);
    return static_cast<int>(head.size()) - 1;
  }

  int mostDisplaced() const {
    const double least = leastHead * *std::max_element(head.begin(), head.end());
    // Where nothing is larger than in the middle it is the middle.
    auto most = static_cast<std::size_t>(middle());
    const auto mean = [this](std::size_t n) { return head[n] > 0 ? shift[n] / head[n] : 0; };
    for (std::size_t n = 0; n < head.size(); ++n)
      if (head[n] >= least && mean(n) > mean(most)) most = n;
    return static_cast<int>(most);
  }
};

}  // namespace

std::vector<ChosenSlice> chosenSlices(const Volume<float>& head, const Volume<float>& shift,
                                      const glm::dmat4& affine) {
  const picture::PatientAxes axes = picture::patientAxes(affine);
  std::vector<ChosenSlice> slices;
  for (const SlicePlane plane : {SlicePlane::axial, SlicePlane::coronal, SlicePlane::sagittal}) {
    const std::size_t across = plane == SlicePlane::axial     ? 2
                               : plane == SlicePlane::coronal ? 1
                                                              : 0;
    const SliceSums sums(head, shift, axes.axis[across]);
    const int last = head.dimensions()[axes.axis[across]] - 1;
    const auto counted = [&](int n) { return axes.against[across] ? last - n : n; };
    const int middle = sums.middle(), most = sums.mostDisplaced();
    if (std::abs(middle - most) >= apart) slices.push_back({plane, counted(middle), false});
    slices.push_back({plane, counted(most), true});
  }
  return slices;
}

glm::ivec3 meetingOf(const std::vector<ChosenSlice>& slices) {
  glm::ivec3 place(0);
  // From the last to the first, which stays.
  std::for_each(slices.rbegin(), slices.rend(), [&place](const ChosenSlice& slice) {
    place[2 - static_cast<int>(slice.plane)] = slice.index;
  });
  return place;
}

}  // namespace mirel::report
