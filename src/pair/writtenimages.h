#pragma once

#include <optional>

#include "pair/pairestimate.h"

namespace mirel {

/// Sets to 0 what interpolation made fall below it in the corrected images, beside bright spots, of
/// images that have no such value. Their mean and agreement in `head` follow; what series are
/// compared with does not.
void raisePairToZero(const PairInput& pair, const Volume<float>& head, PairEstimate& estimate);

/// The pair without its spikes; nothing if it has none.
std::optional<PairInput> pairWithoutSpikes(const PairInput& pair);

/// Corrects the images that have spikes as they are, by the map that was found without them.
void correctWithSpikes(const PairInput& pair, const EstimateSettings& settings,
                       PairEstimate& estimate);

}  // namespace mirel
