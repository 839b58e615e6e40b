#pragma once

#include <glm/vec3.hpp>
#include <iosfwd>
#include <vector>

#include "containers/volume.h"

/// The iterative multi-scale displacement estimate.
namespace mirel::reference {

Volume<float> estimate_vdm(const Volume<float>& vol_ap, const Volume<float>& vol_pa,
                           const glm::dvec3& voxelSize, const glm::dvec3& fitSigma, bool use_ssd,
                           const std::vector<Volume<float>>& patterns,
                           const std::vector<std::vector<float>>& amplitudes,
                           const std::vector<glm::dvec3>& sigmas, bool use_ic, std::ostream& log);

}  // namespace mirel::reference
