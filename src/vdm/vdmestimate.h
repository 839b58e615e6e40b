#pragma once

#include <glm/vec3.hpp>
#include <ostream>
#include <vector>

#include "base/progress.h"
#include "containers/volume.h"

namespace mirel {

/// The iterative estimate of a voxel displacement map from an AP and a PA image: the column-wise
/// estimate, smoothed, then refined scale by scale by a local exhaustive search.
///
/// At each scale s every foreground voxel (intensity above 100 in either resampled image) tries
/// the amplitudes[s]: its neighbourhood, the extent of patterns[s] around it, is resampled through
/// the map plus amplitude times pattern, and the amplitude of least cost is added to the map at
/// the centre voxel. A neighbourhood keeps the values of the last amplitude tried, and later
/// visits see them. The scale ends with a weighted Gaussian smoothing of the map (9 x 9 x 9 taps,
/// sigmas[s] in voxels; visited voxels weigh 1, others 0.25) and `smoothErrors`.
///
/// Shapes   both images and the result: the same (nx, ny, nz); patterns: odd dimensions.
/// Units    result and amplitudes: voxels along y. `voxelSize` (mm) is not used. `fitSigma`
///          (voxels) is passed to `simpleVDMestimate`.
/// Cost     `use_ssd`: sum of squared differences, else the negated normalised cross-correlation.
///          Of equal costs the earliest amplitude wins.
/// use_ic   images are multiplied by the map's density change before each scale.
/// Log      one entry per flush: the estimate's measures, each scale, the time and the check.
/// `done`   told before the first scale and after each; what it throws ends the estimate.
/// @throws std::logic_error when the images' dimensions differ; std::invalid_argument when a
///   scale lacks amplitudes or a sigma, or a pattern has an even or zero dimension.
Volume<float> estimate_vdm(const Volume<float>& vol_ap, const Volume<float>& vol_pa,
                           const glm::dvec3& voxelSize, const glm::dvec3& fitSigma, bool use_ssd,
                           const std::vector<Volume<float>>& patterns,
                           const std::vector<std::vector<float>>& amplitudes,
                           const std::vector<glm::dvec3>& sigmas, bool use_ic, std::ostream& log,
                           const ReportDone& done = {});

}  // namespace mirel
