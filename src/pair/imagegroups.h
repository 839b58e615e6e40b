#pragma once

#include <optional>
#include <string>
#include <vector>

#include "pair/pairinput.h"

namespace mirel {

/// Two images of opposite directions, each with those that are joined with it.
struct PairOptions {
  ImageOptions a, b;
};

/// The images of a session by their phase encoding.
struct ImageGroups {
  PairOptions pair;
  /// A second pair, encoded along another axis.
  std::optional<PairOptions> across;
};

/// Deals out further images of a session by the directions in their sidecars: those of a direction
/// of the pair are joined with its image (ImageOptions::more), those along another axis make a
/// second pair, in which the same volumes are taken.
///
/// Errors  Error, naming the file: those of nifti::Reader and resolveAcquisition; no direction, or
///         one along a third axis; a readout time that differs by more than 1 % from that of the
///         image to join it with; a second pair with one direction; an image that is given twice.
ImageGroups groupImages(const PairOptions& pair, const std::vector<std::string>& more);

}  // namespace mirel
