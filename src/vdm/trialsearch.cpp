#include "vdm/trialsearch.h"

#include <algorithm>
#include <cstring>

#include "vdm/trialkernels.h"
#include "vdm/trialring.h"
#include "vdm/visits.h"

namespace mirel {

namespace {

// Rows first .. last (inclusive) of an axis that a window around p covers.
struct Range {
  int first, last;
  Range(int p, int half, int n) : first(std::max(0, p - half)), last(std::min(n - 1, p + half)) {}
  int count() const { return last - first + 1; }
};

bool anyOf(const std::vector<unsigned char>& marks) {
  return std::memchr(marks.data(), 1, marks.size()) != nullptr;
}

class ConstantPatternSearch {
 public:
  ConstantPatternSearch(const SearchImages& searched, const ConstantPattern& pattern,
                        const std::vector<float>& tried, bool ssdCost, float threshold,
                        SimdVariant simdVariant)
      : images(searched),
        dims(searched.vdm.dimensions()),
        half(pattern.dims / 2),
        amplitudes(tried),
        useSsd(ssdCost),
        foregroundThreshold(threshold),
        variant(simdVariant),
        ring(searched, pattern, tried, ssdCost, threshold, simdVariant),
        visits(dims, pattern.dims),
        best(static_cast<std::size_t>(dims.x), 0),
        foregroundAtStart(best.size()),
        oneCentre(best.size(), 0),
        voxelCount(static_cast<std::size_t>(dims.x) + trialBlock, 1.0f) {}

  void run(Volume<float>& updated, Volume<float>& weights) {
    for (int z = 0; z < dims.z; ++z)
      for (int y = 0; y < dims.y; ++y) {
        const std::vector<unsigned char> visited = visitRow(y, z);
        if (!anyOf(visited)) continue;
        searchRow(y, z, visited);
        for (int x = 0; x < dims.x; ++x) {
          if (!visited[static_cast<std::size_t>(x)]) continue;
          updated.at(x, y, z) +=
              amplitudes[static_cast<std::size_t>(best[static_cast<std::size_t>(x)])];
          weights.at(x, y, z) = 1.0f;
        }
      }
  }

 private:
  // Trials of a row are computed once a window covers it or a visit may begin in it. Before, none
  // of its voxels is covered, and what they would show once visited does not matter.
  const std::vector<unsigned char>& visitRow(int y, int z) {
    markForeground(&images.apUndistorted.at(0, y, z), &images.paUndistorted.at(0, y, z),
                   foregroundThreshold, dims.x, foregroundAtStart.data(), variant);
    if (anyOf(foregroundAtStart)) ring.require(y, z);
    return visits.visitRow(
        y, z, foregroundAtStart.data(),
        ring.holds(y, z) ? ring.foregroundOnceVisited(y, z) : foregroundAtStart.data());
  }

  void searchRow(int y, int z, const std::vector<unsigned char>& visited) {
    collectRows(y, z);
    searchCentres(visited.data());
    if (!windowAwaitsFirstVisit(y, z)) return;
    for (int x = 0; x < dims.x; ++x) {
      if (!visited[static_cast<std::size_t>(x)]) continue;
      takeFirstVisits({x, y, z});
      if (firstVisits.empty()) continue;
      for (const glm::ivec3& p : firstVisits) ring.placeFirstVisitValues(p);
      oneCentre[static_cast<std::size_t>(x)] = 1;
      searchCentres(oneCentre.data());
      oneCentre[static_cast<std::size_t>(x)] = 0;
      for (const glm::ivec3& p : firstVisits) ring.placeLaterValues(p);
    }
  }

  // The rows that the windows of a row's centres cover, in the order of summation.
  void collectRows(int y, int z) {
    const Range rz(z, half.z, dims.z), ry(y, half.y, dims.y);
    rowCount = rz.count() * ry.count();
    squares.clear();
    ap.clear();
    pa.clear();
    for (int slice = rz.first; slice <= rz.last; ++slice)
      for (int row = ry.first; row <= ry.last; ++row) {
        ring.require(row, slice);
        if (useSsd) {
          squares.push_back(ring.squares(row, slice));
        } else {
          ap.push_back(ring.ap(row, slice));
          pa.push_back(ring.pa(row, slice));
        }
      }
    if (useSsd) return;
    for (int x = 0; x < dims.x; ++x)
      voxelCount[static_cast<std::size_t>(x)] =
          static_cast<float>(Range(x, half.x, dims.x).count() * rowCount);
  }

  void searchCentres(const unsigned char* visited) {
    const SearchRow row{dims.x,  2 * half.x + 1, rowCount, ring.amplitudeCount(),
                        visited, best.data()};
    if (useSsd)
      searchRowSsd(row, {squares.data()}, variant);
    else
      searchRowNcc(row, {ap.data(), pa.data(), ring.rowStride(), voxelCount.data()}, variant);
  }

  bool windowAwaitsFirstVisit(int y, int z) const {
    const Range rz(z, half.z, dims.z), ry(y, half.y, dims.y);
    for (int slice = rz.first; slice <= rz.last; ++slice)
      for (int row = ry.first; row <= ry.last; ++row)
        if (ring.rowAwaitsFirstVisit(row, slice)) return true;
    return false;
  }

  // Collects the voxels of a centre's window that this visit is the first to cover, and that show
  // it other values than later visits.
  void takeFirstVisits(glm::ivec3 centre) {
    const Range rz(centre.z, half.z, dims.z), ry(centre.y, half.y, dims.y),
        rx(centre.x, half.x, dims.x);
    firstVisits.clear();
    for (int z = rz.first; z <= rz.last; ++z)
      for (int y = ry.first; y <= ry.last; ++y) {
        if (!ring.rowAwaitsFirstVisit(y, z)) continue;
        for (int x = rx.first; x <= rx.last; ++x)
          if (ring.awaitsFirstVisit({x, y, z})) firstVisits.emplace_back(x, y, z);
      }
    for (const glm::ivec3& p : firstVisits) ring.takeFirstVisit(p);
  }

  const SearchImages& images;
  glm::ivec3 dims, half;
  const std::vector<float>& amplitudes;
  bool useSsd;
  float foregroundThreshold;
  SimdVariant variant;
  TrialRing ring;
  Visits visits;
  std::vector<int> best;
  std::vector<unsigned char> foregroundAtStart, oneCentre;
  std::vector<glm::ivec3> firstVisits;
  std::vector<float> voxelCount;
  int rowCount = 0;
  std::vector<const double*> squares;
  std::vector<const float*> ap, pa;
};

}  // namespace

void searchConstantPattern(const SearchImages& images, const ConstantPattern& pattern,
                           const std::vector<float>& amplitudes, bool useSsd,
                           float foregroundThreshold, Volume<float>& updated,
                           Volume<float>& weights, SimdVariant variant) {
  if (images.vdm.size() == 0) return;
  ConstantPatternSearch(images, pattern, amplitudes, useSsd, foregroundThreshold, variant)
      .run(updated, weights);
}

}  // namespace mirel
