#pragma once

#include <vector>

#include "containers/volume.h"

namespace mirel {

/// For every place of a grid a voxel that is known, and how many steps along the axes lie between.
struct Nearest {
  std::vector<int> voxel;  ///< -1 everywhere when nothing is known
  std::vector<int> steps;
};

/// The nearest voxels with a value (not NaN); of equally near ones the one that is found first.
Nearest nearestKnown(const Volume<float>& known);

/// Everywhere the value of the nearest known voxel; 0 when nothing is known.
Volume<double> nearestValues(const Volume<float>& known);

}  // namespace mirel
