#pragma once

#include <functional>
#include <glm/vec3.hpp>
#include <ostream>
#include <string>

#include "containers/volume.h"

/// Two projects in, their maps and corrected copies out: what every estimate of projects does,
/// whatever its method and whoever keeps the maps.
namespace mirel {

/// Which projects, and what is wanted of them.
struct ProjectPair {
  std::string files[2];
  /// The volume of each to estimate from, counted from 0.
  int volumes[2] = {0, 0};
  /// Phase encoding runs along x, not y.
  bool rllr = false;
  /// Also the maps' derivatives along the phase-encoding axis.
  bool saveDerivative = false;
  /// Also corrected copies of both projects.
  bool applyToInput = false;
};

/// Estimates the map of a pair whose phase encoding runs along y: shift in voxels, forward for the
/// first image. `voxelMm` are the voxels' edges.
using PairEstimator =
    std::function<Volume<float>(const Volume<float>& first, const Volume<float>& second,
                                const glm::dvec3& voxelMm, std::ostream& log)>;

/// Stores a map, transposed in x and y if asked for, under `fileName`; the two parameters are
/// those of the map's header.
using MapWriter = std::function<void(const Volume<float>& map, bool transpose, float param1,
                                     float param2, const std::string& fileName)>;

/// Reads both projects, estimates from one volume of each and stores the map beside the first
/// (`vdm_filename`) and its negative beside the second; on request the maps' derivatives
/// (`vdmderiv_filename`) and corrected copies of both projects (`correctProject`). The log gets a
/// flushed message before each step and "Done." at the end.
/// @throws IOError, std::runtime_error when dimensions differ or a volume does not exist, and what
///   estimator and writer throw; files written before stay.
void estimateProjectPair(const ProjectPair& pair, const PairEstimator& estimator,
                         const MapWriter& saveMap, std::ostream& log);

}  // namespace mirel
