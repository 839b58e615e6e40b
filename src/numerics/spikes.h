#pragma once

#include <vector>

#include "containers/volume.h"

namespace mirel {

/// Voxels of an image that stand out of all others, as broken samples and overflows do: few, alone,
/// and far beyond what the image holds otherwise. Head and fluid, bright as they are, and signal
/// that piles up have neighbours of their kind.
struct Spikes {
  std::vector<int> voxels;  ///< linear indices, ascending
  float largest = 0;        ///< the value farthest from the image's median; 0 without any

  bool empty() const { return voxels.empty(); }
};

/// Finds them. With the deviation d of a voxel from the image's median, and q the deviation that
/// only a thousandth of the voxels exceeds (20 of them at least), the candidates are those with
///
///   d > 1.75 q
///
/// Of each group of candidates that touch (26 neighbours) the spikes are the brightest ones, as
/// many as can be, of which every one has a deviation more than 2.5 times that of any other voxel
/// around them: what is graded towards its surroundings is signal.
///
/// Units    those of the image; scaling it or adding to it changes nothing, but for rounding.
/// Edges    none in an image where not more than a thousandth differs from the median (q = 0).
/// NaN      and infinite voxels are left out, and are no spikes.
Spikes findSpikes(const Volume<float>& image);

/// The image with each spike replaced by the median of the voxels around it that are finite and are
/// none themselves; by 0 where there are none.
Volume<float> withoutSpikes(const Volume<float>& image, const Spikes& spikes);

/// The same with the spikes that `findSpikes` finds.
Volume<float> withoutSpikes(Volume<float> image);

}  // namespace mirel
