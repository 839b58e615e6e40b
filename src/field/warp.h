#pragma once

#include <string>

#include "field/grid.h"
#include "nifti/header.h"
#include "numerics/rigidmotion.h"

namespace mirel {

/// Writes a map as a displacement field for programs that compose transforms.
///
/// The file is a 5-D NIfTI (nx, ny, nz, 1, 3) of 32-bit floats with intent code 1007 (vector) and
/// the orientation of `reference`, whose grid is that of the map. The vector at a voxel is in mm
/// in LPS coordinates (x towards left, y towards posterior, z towards superior):
///
///   (physical point of the output voxel) + vector = point to sample in the distorted image
///
/// With a the column `axis` of the affine (mm per voxel, in NIfTI's RAS axes) it is
/// (-a.x, -a.y, a.z) * shift. Only the geometry is carried over, no modulation.
/// `motion`, in mm along i, j, k and about the middle of the grid, is that of a head that was
/// elsewhere in the distorted image: its displacement of the voxel is added.
///
/// Whole or not at all. Throws Error: other dimensions, or a file that cannot be written.
void writeWarpLps(const Volume<float>& shift, const nifti::Header& reference, int axis,
                  const std::string& fileName, const RigidMotion& motion = {});

}  // namespace mirel
