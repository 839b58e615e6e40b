#include "pair/spikedpair.h"

#include <utility>

#include "field/corrector.h"
#include "numerics/spikes.h"
#include "pair/foreground.h"
#include "pair/readoutratio.h"

namespace mirel {

std::optional<PairInput> pairWithoutSpikes(const PairInput& pair) {
  if (pair.a.spikes.empty() && pair.b.spikes.empty()) return std::nullopt;
  PairInput clean = pair;
  for (InputImage* image : {&clean.a, &clean.b})
    image->image = withoutSpikes(image->image, image->spikes);
  return clean;
}

void correctWithSpikes(const PairInput& pair, const EstimateSettings& settings,
                       PairEstimate& estimate) {
  const auto through = [&](const InputImage& image, double background, const Volume<float>& map) {
    Volume<float> corrected =
        correctVolume(image.image - static_cast<float>(background), map, pair.axis(),
                      settings.usedModulation(), settings.interpolation);
    return std::move(corrected += static_cast<float>(background));
  };
  if (!pair.a.spikes.empty())
    estimate.correctedA = through(pair.a, estimate.backgroundA, estimate.shift);
  if (!pair.b.spikes.empty() && !estimate.motion)
    estimate.correctedB = through(pair.b, estimate.backgroundB, mapOfSecond(pair, estimate.shift));
  if (!estimate.otherMeanToCompare) estimate.otherMeanToCompare = std::move(estimate.mean);
  estimate.mean = meanOf(estimate.correctedA, estimate.correctedB);
}

}  // namespace mirel
