#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "accuracy/measure.h"

namespace mirel {

/// An object and its field, from which pairs are made that break the estimate's model in one way
/// or another. All is on the undistorted grid.
struct SpoilableHead {
  static constexpr int cells = 3;  ///< of `density` per voxel along x and y

  Volume<float> density;      ///< signal (3 nx, 3 ny, nz)
  Volume<float> shiftVoxels;  ///< along y, without folds
  Volume<float> foldedShift;  ///< the same, with folds near cavities
  Mask brain;
  double brainMean = 1.0;
  glm::dvec3 voxelMm{1.0};
  std::uint64_t seed = 1;  ///< of the noise
  /// The density with other factors of fluid, grey and white matter; empty where not known.
  std::function<Volume<float>(float csf, float grey, float white)> withContrast;
};

/// Mirel's simulated head. `maxShift` in voxels.
SpoilableHead simulatedHead(glm::ivec3 size, double maxShift, std::uint64_t seed);
/// The magnitude and field under `folder` (a data set with a measured field map), scaled to a
/// largest displacement of `maxShift` voxels in the brain.
SpoilableHead measuredHead(const std::string& folder, double maxShift, std::uint64_t seed);

struct SpoiledPair {
  Volume<float> first, second;
  Volume<float> shiftVoxels;  ///< the truth
  Mask scored;                ///< where the map is compared with it
  /// The spoiled region (or the voxels near it), scored on its own; empty if there is none.
  Mask spoiled;
};

/// A way of spoiling a pair.
struct Spoiling {
  std::string name;
  bool needsContrast = false;
  std::function<SpoiledPair(const SpoilableHead&)> make;
  /// Whether the estimate's model holds but for noise that is the same everywhere.
  bool modelHolds = false;
};

/// All rows of the table. The first is the unspoiled pair.
std::vector<Spoiling> spoilings();

}  // namespace mirel
