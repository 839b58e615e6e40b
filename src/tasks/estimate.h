#pragma once

#include <functional>
#include <glm/vec3.hpp>
#include <ostream>

#include "containers/volume.h"

namespace mirel {

/// Estimates the map of a pair whose phase encoding runs along y: shift in voxels, forward for the
/// first image. `voxelMm` are the voxels' edges.
using PairEstimator =
    std::function<Volume<float>(const Volume<float>& first, const Volume<float>& second,
                                const glm::dvec3& voxelMm, std::ostream& log)>;

/// Estimates the voxel displacement maps of the two projects of the dialog parameters "file0" and
/// "file1" from one volume of each and stores them as maps beside the projects, the second
/// project's being the first one's negated; with "save_derivative" their y derivatives too, and
/// with "apply_to_input" corrected copies of both projects.
/// @throws IOError, std::runtime_error when dimensions differ or a volume does not exist,
///   std::logic_error when the host's map does not fit; files written before stay.
void estimateFiles(std::ostream& log);

/// The same by another method than that of the dialog parameters "fast_algorithm", "use_ssd" and
/// "use_ic".
void estimateFiles(std::ostream& log, const PairEstimator& estimator);

}  // namespace mirel
