#pragma once

#include <optional>

#include "pair/pairestimate.h"

namespace mirel {

/// The pair without its spikes; nothing if it has none.
std::optional<PairInput> pairWithoutSpikes(const PairInput& pair);

/// Corrects the images that have spikes as they are, by the map that was found without them.
void correctWithSpikes(const PairInput& pair, const EstimateSettings& settings,
                       PairEstimate& estimate);

}  // namespace mirel
