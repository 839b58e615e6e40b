#pragma once

#include <glm/vec3.hpp>
#include <string>
#include <vector>

#include "numerics/rigidmotion.h"

/// The motion of a simulated head as other programs would write it, by their rules alone.
namespace mirel::motionforms {

/// Where the images lie whose volumes moved: x to the right, the middle of the grid at the origin.
struct GridSize {
  glm::dvec3 voxels, mm;
};

/// Each brings the head from the reference to where it is in a volume, about the origin.
using Motions = std::vector<RigidMotion>;

/// A row for each volume, as "mirel phantom --volume-motion" takes them.
std::string phantomRows(const Motions& motions);
/// Affine transforms of ITK, those of fMRIPrep; six digits.
std::string itkText(const Motions& motions);
std::string afniRows(const Motions& motions);
std::string spmRows(const Motions& motions);
/// One file of FSL's folder: from the volume to the reference.
std::string fslMatrix(const RigidMotion& motion, const GridSize& grid);
/// Rows of .par, the angles about `centre`, which is in FSL's coordinates.
std::string fslRows(const Motions& motions, const GridSize& grid, glm::dvec3 centre);

/// FSL's coordinates of a voxel.
glm::dvec3 fslPlace(glm::dvec3 voxel, const GridSize& grid);

Motions inverses(const Motions& motions);

}  // namespace mirel::motionforms
