#pragma once

#include <vector>

#include "simd/aligned.h"
#include "vdm/trialkernels.h"
#include "vdm/trialsearch.h"

namespace mirel {

/// What the trials of one image voxel see, per amplitude. Where the position of a trial is not
/// strictly inside the image the voxel keeps what it held.
struct VoxelTrials {
  std::vector<float> values;  ///< as the first visit sees them
  std::size_t held = 0;       ///< so many first trials see what was there before the visit
  float start = 0;            ///< what the first visit finds

  /// What the voxel holds after a visit, and later visits find.
  float last() const { return values.back(); }
  bool firstVisitDiffers() const { return held > 0 && !(start == last()); }
  void setFound(float value);
};

/// The trial values of the slices that the windows of one slice's centres cover: a ring over z.
/// Rows are padded with zeros, so that the window of centre x begins at element x.
class TrialRing {
 public:
  TrialRing(const SearchImages& images, const ConstantPattern& pattern,
            const std::vector<float>& amplitudes, bool useSsd, float foregroundThreshold,
            SimdVariant variant);

  /// Computes a row that is not there yet, in place of that of slice z - pattern.dims.z.
  void require(int y, int z);
  bool holds(int y, int z) const { return sliceHeld[rowIndex(y, z)] == z; }

  int amplitudeCount() const { return static_cast<int>(shifts.size()); }
  const double* squares(int y, int z) const { return squareRows.data() + squareIndex(0, y, z); }
  /// At the first amplitude; the next one's row is `rowStride` elements further.
  const float* ap(int y, int z) const { return apRows.data() + rowStart(0, y, z); }
  const float* pa(int y, int z) const { return paRows.data() + rowStart(0, y, z); }
  std::size_t rowStride() const { return stride; }

  /// Per x, whether a visited voxel, holding the last amplitude's values, is foreground.
  const unsigned char* foregroundOnceVisited(int y, int z) const {
    return foreground.data() + byteIndex({0, y, z});
  }

  /// Voxels that the first visit sees differently than later ones, until `takeFirstVisit`.
  bool rowAwaitsFirstVisit(int y, int z) const { return awaiting[rowIndex(y, z)] > 0; }
  bool awaitsFirstVisit(glm::ivec3 p) const { return awaits[byteIndex(p)] != 0; }
  void takeFirstVisit(glm::ivec3 p);

  /// Puts the values in place that the first (or, to undo that, every later) visit of p sees.
  void placeFirstVisitValues(glm::ivec3 p);
  void placeLaterValues(glm::ivec3 p);

 private:
  std::size_t rowIndex(int y, int z) const {
    return static_cast<std::size_t>(z % depth) * ny + static_cast<std::size_t>(y);
  }
  std::size_t rowStart(int amplitude, int y, int z) const {
    return (rowIndex(y, z) * shifts.size() + static_cast<std::size_t>(amplitude)) * stride;
  }
  std::size_t squareIndex(std::size_t element, int y, int z) const {
    return (rowIndex(y, z) * squareStride + element) * squaresPerElement;
  }
  std::size_t byteIndex(glm::ivec3 p) const {
    return rowIndex(p.y, p.z) * nx + static_cast<std::size_t>(p.x);
  }
  void loadRow(int y, int z);
  void settleOutside(glm::ivec3 p);
  void openRow(int y, int z);
  void closeRow(int y, int z);
  void tryVoxel(glm::ivec3 p);
  void place(glm::ivec3 p);

  const SearchImages& images;
  std::vector<float> shifts;  // pattern value times amplitude
  bool useSsd;
  float threshold;
  SimdVariant variant;
  std::size_t nx, ny, margin, stride, squareStride, squaresPerElement;
  int depth;
  AlignedDoubles squareRows;  // no vector of amplitudes crosses a cache line
  std::vector<float> apRows, paRows;
  std::vector<unsigned char> foreground, awaits;
  std::vector<int> sliceHeld;              // per row: the slice it is of, or -1
  std::vector<int> awaiting;               // per row: how many voxels await their first visit
  std::vector<float*> apTrials, paTrials;  // of the row that is being loaded
  std::vector<unsigned char> allInside;
  VoxelTrials apVoxel, paVoxel;  // of the voxel tried last
};

}  // namespace mirel
