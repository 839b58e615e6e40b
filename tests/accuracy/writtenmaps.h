#pragma once

#include <string>
#include <vector>

#include "accuracy/spoiledpairs.h"
#include "masspreserving/masspreserving.h"

namespace mirel {

/// Writes what the estimate makes of pairs beside the truth, as images to look at. For each pair,
/// numbered in order and named by its spoiling:
///
///   _mean          mean of the corrected images
///   _truth_vdm     true displacement in voxels
///   _vdm           that of the estimate
///   _oneratio_vdm  that of the estimate with one ratio of intensities (localRatio off)
///   _error, _oneratio_error   both less the truth, in mm
///   _scored_mask   where they are compared: 1, in the spoiled region 2
///
/// and, as all_..., one sagittal slice of each pair side by side along x, for a picture of all.
class WrittenMaps {
 public:
  /// Into a folder that is there. `options` of the estimate.
  WrittenMaps(std::string folder, const MassPreservingOptions& options);

  /// Pairs of one size. Errors  those of the files.
  void add(const std::string& name, const SpoiledPair& pair, const glm::dvec3& voxelMm);

 private:
  struct Image {
    std::string suffix, unit;
    Volume<float> values;
  };
  std::vector<Image> imagesOf(const SpoiledPair& pair, const glm::dvec3& voxelMm) const;
  void write(const std::string& start, const Image& image, const glm::dvec3& voxelMm) const;

  std::string folder;
  MassPreservingOptions options;
  std::vector<std::vector<Image>> slices;  // of each pair that was added
};

}  // namespace mirel
