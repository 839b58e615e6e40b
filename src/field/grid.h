#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <string>

#include "containers/volume.h"
#include "nifti/header.h"

/// Grids in the scanner's space and resampling from one to another.
namespace mirel {

/// Where voxels lie: voxel (i, j, k) to mm, as in nifti::Header.
struct Grid {
  glm::ivec3 dims{0, 0, 0};
  glm::dmat4 affine{1.0};
};

Grid gridOf(const nifti::Header& header);

/// Whether the image says where it lies; if not, its affine is made of its voxel sizes alone.
inline bool hasOrientation(const nifti::Header& header) {
  return header.sformCode > 0 || header.qformCode > 0;
}

/// Voxel coordinates of `from` to voxel coordinates of `to`. Throws Error, naming `name`
/// (the image that `to` belongs to), when that affine is singular or not finite.
glm::dmat4 voxelToVoxel(const glm::dmat4& from, const glm::dmat4& to, const std::string& name);

/// Whether both grids have the same dimensions and each corner of one lies within 1e-3 voxels of
/// the other's: two files of one acquisition whose headers were rounded differently.
bool coincide(const Grid& a, const Grid& b);

/// Grids whose corners lie no farther apart, in voxels, are taken for one: headers are rounded.
inline constexpr double samePlaceVoxels = 0.05;

/// How far the corners of two grids of the same dimensions lie apart along any axis, in voxels of
/// `b`: the largest of all. Throws Error, naming `name` (the image that `b` belongs to), when its
/// affine is singular or not finite.
double cornersApart(const Grid& a, const Grid& b, const std::string& name);

/// 1 at the voxels of `target` whose centres lie on the grid `source` (less than half a voxel
/// beyond its outermost centres), 0 elsewhere. Throws Error, naming `name` (the image that
/// `source` belongs to), for a singular affine.
Volume<float> coverage(const Grid& target, const Grid& source, const std::string& name);

/// linear: trilinear. cubic: tensor product of cubic B-splines with coefficients of zero outside
/// (smoother, but it overshoots at edges).
enum class Interpolation { linear, cubic };

/// The image `source` of affine `affine` at the voxel centres of `target`:
///
///   result(v) = source(inverse(affine) * target.affine * v)
///
/// Positions off the source's grid take the value of the nearest point on its border (each
/// coordinate is limited to 0 .. n - 1). Positions are formed in double, the trilinear sum too.
/// Where the grids coincide the result is a copy, bit for bit. Throws Error, naming
/// `name`, for a singular affine.
Volume<float> resampleTo(const Grid& target, const Volume<float>& source, const glm::dmat4& affine,
                         const std::string& name, Interpolation interpolation);

}  // namespace mirel
