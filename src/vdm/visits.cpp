#include "vdm/visits.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace mirel {

namespace {

using Bytes = std::vector<unsigned char>;

// Eight at a time, which the compiler does not make of bytes that might overlap.
void mergeInto(unsigned char* into, const unsigned char* from, std::size_t count) {
  std::size_t i = 0;
  for (; i + 8 <= count; i += 8) {
    std::uint64_t a = 0, b = 0;
    std::memcpy(&a, into + i, 8);
    std::memcpy(&b, from + i, 8);
    a |= b;
    std::memcpy(into + i, &a, 8);
  }
  for (; i < count; ++i) into[i] |= from[i];
}

}  // namespace

Visits::Visits(glm::ivec3 imageDims, glm::ivec3 windowDims)
    : nx(imageDims.x),
      ny(imageDims.y),
      half(windowDims / 2),
      coveredSlices(static_cast<std::size_t>(half.z)),
      coveredRows(static_cast<std::size_t>(ny)) {
  const std::size_t slice = static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny);
  for (Bytes& bytes : coveredSlices) bytes.assign(slice, 0);
  for (Bytes& bytes : coveredRows) bytes.assign(static_cast<std::size_t>(nx), 0);
}

const std::vector<unsigned char>& Visits::visitRow(int y, int z,
                                                   const unsigned char* foregroundAtStart,
                                                   const unsigned char* foregroundOnceVisited) {
  if (z != currentSlice) startSlice(z);
  covered.assign(static_cast<std::size_t>(nx), 0);
  for (const Bytes& slice : coveredSlices)
    mergeInto(covered.data(), slice.data() + static_cast<std::ptrdiff_t>(y) * nx, covered.size());
  for (int row = std::max(0, y - half.y); row < y; ++row)
    mergeInto(covered.data(), coveredRows[static_cast<std::size_t>(row)].data(), covered.size());
  visited.assign(static_cast<std::size_t>(nx), 0);
  int lastVisit = std::numeric_limits<int>::min() / 2;
  for (int x = 0; x < nx; ++x) {
    const bool isCovered = covered[static_cast<std::size_t>(x)] || x - lastVisit <= half.x;
    if (!(isCovered ? foregroundOnceVisited : foregroundAtStart)[x]) continue;
    visited[static_cast<std::size_t>(x)] = 1;
    lastVisit = x;
  }
  finishRow(y);
  return visited;
}

// The slice that just ended covers, for later slices, its rows widened along y.
void Visits::startSlice(int z) {
  if (currentSlice >= 0 && half.z > 0) {
    Bytes& slice = coveredSlices[static_cast<std::size_t>(currentSlice % half.z)];
    std::fill(slice.begin(), slice.end(), static_cast<unsigned char>(0));
    for (int y = 0; y < ny; ++y)
      for (int row = std::max(0, y - half.y); row <= std::min(ny - 1, y + half.y); ++row)
        mergeInto(slice.data() + static_cast<std::ptrdiff_t>(y) * nx,
                  coveredRows[static_cast<std::size_t>(row)].data(), static_cast<std::size_t>(nx));
  }
  currentSlice = z;
}

void Visits::finishRow(int y) {
  Bytes& row = coveredRows[static_cast<std::size_t>(y)];
  std::fill(row.begin(), row.end(), static_cast<unsigned char>(0));
  for (int x = 0; x < nx; ++x)
    if (visited[static_cast<std::size_t>(x)])
      std::fill(row.begin() + std::max(0, x - half.x), row.begin() + std::min(nx, x + half.x + 1),
                static_cast<unsigned char>(1));
}

}  // namespace mirel
