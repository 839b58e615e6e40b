#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>

#include "containers/volume.h"

/// Affine resampling (destination to source coordinates) and border growth.
namespace mirel::reference {

template <typename T>
void affineLinear(Volume<T>& dst, const Volume<T>& src, glm::mat4 m);
template <typename T>
void affineCenterLinear(Volume<T>& dst, const Volume<T>& src, glm::mat4 m);
template <typename T>
void scaleVolumeLinear(Volume<T>& dst, const Volume<T>& src);
template <typename T>
void growVolumeMirror(Volume<T>& v, glm::ivec3 g);
template <typename T>
void growVolumeReplicateBoundary(Volume<T>& v, glm::ivec3 g);

}  // namespace mirel::reference
