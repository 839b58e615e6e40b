#pragma once

#include <vector>

#include "containers/volume.h"
#include "phantom/distort.h"

namespace mirel {

/// What a scan of several volumes shows, without distortion and without noise: volume t is the sum
/// of the components, in cells as `HeadObject::density`, with the weights of t.
struct PhantomScan {
  std::vector<Volume<float>> components;
  std::vector<std::vector<float>> weights;

  int volumes() const { return static_cast<int>(weights.size()); }
};

/// The components of a scan as the grid sees them: all volumes of a scan are distorted alike.
class ScanImages {
 public:
  /// @param shiftVoxels  where signal moves along `axis`, as `distort` has it
  ScanImages(const PhantomScan& source, const Volume<float>& shiftVoxels, PhaseEncodingAxis axis);

  /// Without noise. Errors  std::out_of_range for a volume that there is not.
  Volume<float> volume(int t) const;

 private:
  const PhantomScan& scan;
  std::vector<Volume<float>> images;
};

}  // namespace mirel
