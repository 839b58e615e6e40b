#pragma once

#include "containers/volume.h"

namespace mirel {

struct UnwrappedPhase {
  Volume<float> radians;  ///< NaN outside the mask and where there was no phase
  int regions = 0;        ///< that do not hang together; the turns between them are a guess
  int voxels = 0;         ///< that have a phase
};

/// Takes the whole turns out of a phase: neighbours in `mask` are joined along their edges, the
/// ones of the best quality (EdgeQuality) first, each so that the two differ by less than half a
/// turn there; an edge whose ends are of one group already changes nothing. So the tree of best
/// edges decides, whatever the other edges say, and what is doubtful is joined last.
///
/// Regions that the mask keeps apart are then joined across the gap, the narrowest first, by the
/// turns that bring the median difference of the voxels facing each other nearest to 0. At last all
/// gets the multiple of a turn that brings its median nearest to 0.
///
/// Shapes   all the same; magnitude may be empty. Edges of equal quality (to 1/65536) come in the
///          order of their voxels: the result depends on nothing but the input.
/// NaN      voxels without a phase are outside the mask; a magnitude that is not above 0 (NaN)
///          counts as 0.
/// Source   H. Abdul-Rahman et al., Appl. Opt. 46:6623, 2007 (sorted edges and groups); B. Dymerska
///          et al., Magn. Reson. Med. 85:2294, 2021 (quality)
UnwrappedPhase unwrap(const Volume<float>& wrappedRadians, const Volume<float>& magnitude,
                      const Volume<float>& mask);

}  // namespace mirel
