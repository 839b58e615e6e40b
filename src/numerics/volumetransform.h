#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>

#include "containers/volume.h"

namespace mirel {

/// Resampling through affine maps and growing of volumes. A map goes from voxel coordinates of
/// `dst` to voxel coordinates of `src` (each destination voxel pulls its value), in single
/// precision; the caller sizes `dst`. Interpolation is `Volume::linear`: 0 outside the source.
/// `dst` and `src` are different objects, else std::logic_error before `dst` is touched.
/// Resampling exists for float and double, growing for float.

/// dst(p) = src.linear(m * p).
template <typename T>
void affineLinear(Volume<T>& dst, const Volume<T>& src, glm::mat4 m);

/// The same about the volume centres (n - 1)/2: dst(p) = src.linear(c_src + m * (p - c_dst)).
template <typename T>
void affineCenterLinear(Volume<T>& dst, const Volume<T>& src, glm::mat4 m);

/// Stretches the grid of `src` onto that of `dst` by the ratio of voxel counts, centres aligned.
template <typename T>
void scaleVolumeLinear(Volume<T>& dst, const Volume<T>& src);

/// Adds g voxels on both sides of each axis by half-sample mirroring (the edge voxel is
/// repeated); each width is first limited to the axis length.
template <typename T>
void growVolumeMirror(Volume<T>& v, glm::ivec3 g);

/// Adds g voxels on both sides of each axis, each a copy of the nearest edge voxel. Where an
/// axis has length 0 there is no edge, and the new voxels are 0.
template <typename T>
void growVolumeReplicateBoundary(Volume<T>& v, glm::ivec3 g);
/// A copy of `v` grown by `growVolumeReplicateBoundary`.
template <typename T>
Volume<T> replicatedBoundary(const Volume<T>& v, glm::ivec3 g);

}  // namespace mirel
