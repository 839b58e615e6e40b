#pragma once

#include "containers/volume.h"

namespace mirel {

/// Along which axis of the array a distorted image was phase encoded.
enum class PhaseEncodingAxis { x, y };

/// Distorts a density by moving its signal along the phase-encoding axis. What lies at y moves to
///
///   u(y) = y + s(y),      image(u) = density(y) / |1 + s'(y)|   (y, s in voxels)
///
/// so signal is conserved: stretched it thins, compressed it piles up.
///
/// Shapes   density: (c nx, ny c, nz), c cells per voxel along x and y; shift: (nx, ny, nz), at
///          the centres of the undistorted voxels; the result: (nx, ny, nz), means per voxel.
/// Method   The cells across the axis are averaged to voxels. Each cell along it moves with its
///          two edges, at which the shift is interpolated cubically, and its signal is shared
///          out exactly over the voxels that it then covers: the integral of a piecewise constant
///          density under a piecewise linear map. Folds add up, as they do in a scanner.
/// Edges    The shift is constant beyond the outermost voxel centres. Signal that leaves the
///          grid is lost.
/// NaN      A cell with a shift that is not finite is lost.
/// Errors   std::invalid_argument if the shapes do not fit.
Volume<float> distort(const Volume<float>& density, const Volume<float>& shiftVoxels,
                      PhaseEncodingAxis axis, int cellsPerVoxel);

/// d shift / d axis in voxels per voxel, by central differences (one-sided at the ends).
Volume<float> shiftDerivative(const Volume<float>& shiftVoxels, PhaseEncodingAxis axis);

}  // namespace mirel
