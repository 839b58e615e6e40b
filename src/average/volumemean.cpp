#include "average/volumemean.h"

namespace mirel {

Volume<float> weightedMean(const std::vector<AlignedVolume>& volumes,
                           const std::vector<VolumeAgreement>& agreements, std::size_t fallback) {
  Volume<float> result = volumes[fallback].image;
  const int size = result.nx() * result.ny();
  for (int i = 0; i < result.size(); ++i) {
    double sum = 0, weights = 0;
    for (std::size_t v = 0; v < volumes.size(); ++v) {
      const double weight = agreements[v].weights[static_cast<std::size_t>(i / size)];
      if (weight == 0 || !volumes[v].covers(i)) continue;
      sum += weight * static_cast<double>(volumes[v].image.data()[i]) / agreements[v].gain;
      weights += weight;
    }
    if (weights > 0) result.data()[i] = static_cast<float>(sum / weights);
  }
  return result;
}

Volume<float> plainMean(const std::vector<AlignedVolume>& volumes) {
  Volume<float> result = volumes.front().image;
  for (int i = 0; i < result.size(); ++i) {
    double sum = 0;
    for (const AlignedVolume& volume : volumes) sum += static_cast<double>(volume.image.data()[i]);
    result.data()[i] = static_cast<float>(sum / static_cast<double>(volumes.size()));
  }
  return result;
}

}  // namespace mirel
