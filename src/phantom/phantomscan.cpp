#include "phantom/phantomscan.h"

#include "phantom/object.h"

namespace mirel {

ScanImages::ScanImages(const PhantomScan& source, const Volume<float>& shiftVoxels,
                       PhaseEncodingAxis axis)
    : scan(source) {
  for (const Volume<float>& component : source.components)
    images.push_back(distort(component, shiftVoxels, axis, HeadObject::cellsPerVoxel));
}

Volume<float> ScanImages::volume(int t) const {
  const std::vector<float>& weights = scan.weights.at(static_cast<std::size_t>(t));
  Volume<float> sum = images.front() * weights.front();
  for (std::size_t n = 1; n < images.size(); ++n) sum = sum + images[n] * weights[n];
  return sum;
}

}  // namespace mirel
