#pragma once

#include <algorithm>
#include <vector>

#include "containers/volume.h"
#include "reference/distance.h"
#include "reference/vdm.h"

namespace mirel {

/// What a sweep of the local search reads, and the state it keeps.
struct SweepInput {
  Volume<float> ap, pa;                        // what the trials sample
  Volume<float> apUndistorted, paUndistorted;  // overwritten by every trial
  Volume<float> vdm;
};

struct SweepResult {
  Volume<float> updated, weights;
};

/// One sweep as it is defined: at every foreground voxel, in order, each amplitude resamples the
/// window around it and is scored; the window keeps the last trial's values.
inline SweepResult literalSweep(SweepInput state, const Volume<float>& pattern,
                                const std::vector<float>& amplitudes, bool useSsd) {
  SweepResult result{state.vdm, Volume<float>(state.vdm.dimensions(), 0.25f)};
  const glm::ivec3 n = state.vdm.dimensions(), half = pattern.dimensions() / 2;
  const auto visit = [&](glm::ivec3 c) {
    std::vector<glm::ivec3> voxels, local;
    for (int z = std::max(0, c.z - half.z); z <= std::min(n.z - 1, c.z + half.z); ++z)
      for (int y = std::max(0, c.y - half.y); y <= std::min(n.y - 1, c.y + half.y); ++y)
        for (int x = std::max(0, c.x - half.x); x <= std::min(n.x - 1, c.x + half.x); ++x) {
          voxels.emplace_back(x, y, z);
          local.push_back(half - c + glm::ivec3(x, y, z));
        }
    double least = 0;
    float best = 0;
    for (std::size_t i = 0; i < amplitudes.size(); ++i) {
      reference::applyVdmPlusLocalYLinearFast(state.apUndistorted, state.ap, state.vdm, voxels,
                                              pattern, local, amplitudes[i], false);
      reference::applyVdmPlusLocalYLinearReverseFast(state.paUndistorted, state.pa, state.vdm,
                                                     voxels, pattern, local, amplitudes[i]);
      const double cost = useSsd
                              ? reference::ssd(state.apUndistorted, state.paUndistorted, voxels)
                              : -reference::ncc(state.apUndistorted, state.paUndistorted, voxels);
      if (i > 0 && !(cost < least)) continue;
      least = cost;
      best = amplitudes[i];
    }
    result.updated[c] += best;
    result.weights[c] = 1.0f;
  };
  for (int z = 0; z < n.z; ++z)
    for (int y = 0; y < n.y; ++y)
      for (int x = 0; x < n.x; ++x)
        if (state.apUndistorted.at(x, y, z) > 100.0f || state.paUndistorted.at(x, y, z) > 100.0f)
          visit({x, y, z});
  return result;
}

}  // namespace mirel
