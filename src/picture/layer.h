#pragma once

#include <glm/mat4x4.hpp>
#include <string>
#include <vector>

#include "containers/volume.h"
#include "field/grid.h"
#include "nifti/header.h"

namespace mirel::picture {

/// What is known of the place of a volume, the least first.
enum class Placement {
  nothing,  ///< a .map: dimensions only
  sizes,    ///< a file without orientation: voxel sizes
  scanner,  ///< a place in the scanner
};

/// A volume and where it lies.
struct Layer {
  std::string name;  ///< for messages: the file
  Volume<float> volume;
  glm::dmat4 affine{1.0};  ///< voxel to mm
  Placement placement = Placement::nothing;

  Grid grid() const { return {volume.dimensions(), affine}; }
};

/// Places a layer by the header of its file.
void placeBy(const nifti::Header& header, Layer& layer);

/// Gives every layer that is not placed in the scanner the affine of the one of the same
/// dimensions of which most is known, the first of several: it lies on that grid. Returns a note
/// for each file without orientation that was placed so; for a .map that is what is expected.
std::vector<std::string> shareGrids(const std::vector<Layer*>& layers);

/// Throws Error unless `layer` can be cut where `reference` is: both are placed in the scanner, or
/// have one grid.
void requireSameSpace(const Layer& layer, const Layer& reference);

}  // namespace mirel::picture
