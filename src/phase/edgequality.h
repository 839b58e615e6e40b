#pragma once

#include "containers/volume.h"

namespace mirel {

/// How likely the phase between two neighbours is to be within half a turn, 0 (not at all) to 1,
/// for the edge from voxel p to q = p + 1 along `axis`; r and s are the voxels before p and behind
/// q, w() is the angle within half a turn of 0, m the magnitude:
///
///   coherence   1 - |w(q - p)| / pi
///   linearity   (1 - |w(r - 2 p + q)| / 2)+ (1 - |w(p - 2 q + s)| / 2)+
///   magnitude   (min(m) / max(m))^2
///
/// Each counts as 0.1 + 0.9 times itself, so that none rules alone; their product is the quality.
/// Voxels off the grid or without a phase (NaN) leave their factor of the linearity out.
///
/// Shapes   magnitude: that of the phase, or empty, which leaves its factor out
/// Source   B. Dymerska et al., Magn. Reson. Med. 85:2294, 2021 (ROMEO): its weights of one echo
class EdgeQuality {
 public:
  EdgeQuality(const Volume<float>& radians, const Volume<float>& magnitude)
      : phase(radians), signal(magnitude) {}

  /// `p` and its neighbour are on the grid and have phases.
  double of(glm::ivec3 p, int axis) const;

 private:
  double linearity(glm::ivec3 before, glm::ivec3 at, glm::ivec3 behind) const;
  double coherenceOfMagnitude(glm::ivec3 p, glm::ivec3 q) const;

  const Volume<float>& phase;
  const Volume<float>& signal;
};

}  // namespace mirel
