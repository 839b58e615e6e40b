#include "reference/volumetransform.h"

#include <algorithm>
#include <glm/ext/matrix_transform.hpp>

#include "reference/interpolation.h"

namespace mirel::reference {

namespace {

template <typename T>
glm::vec3 centre(const Volume<T>& v) {
  return glm::vec3(static_cast<float>(v.nx() - 1) * 0.5f, static_cast<float>(v.ny() - 1) * 0.5f,
                   static_cast<float>(v.nz() - 1) * 0.5f);
}

// dst(p) = src(source(p.x, nx), ...) over the grown grid; 0 where the source has no voxels.
template <typename T, typename Source>
Volume<T> grown(const Volume<T>& v, glm::ivec3 g, Source source) {
  Volume<T> result(v.nx() + 2 * g.x, v.ny() + 2 * g.y, v.nz() + 2 * g.z, T(0));
  if (v.size() == 0) return result;
  for (int z = 0; z < result.nz(); ++z)
    for (int y = 0; y < result.ny(); ++y)
      for (int x = 0; x < result.nx(); ++x)
        result.at(x, y, z) =
            v.at(source(x - g.x, v.nx()), source(y - g.y, v.ny()), source(z - g.z, v.nz()));
  return result;
}

}  // namespace

template <typename T>
void affineLinear(Volume<T>& dst, const Volume<T>& src, glm::mat4 m) {
  for (int z = 0; z < dst.nz(); ++z)
    for (int y = 0; y < dst.ny(); ++y)
      for (int x = 0; x < dst.nx(); ++x) {
        const auto position = [&](int c) {
          return (m[2][c] * static_cast<float>(z) + m[3][c]) +
                 (m[1][c] * static_cast<float>(y) + m[0][c] * static_cast<float>(x));
        };
        dst.at(x, y, z) = trilinear(src, position(0), position(1), position(2));
      }
}

template <typename T>
void affineCenterLinear(Volume<T>& dst, const Volume<T>& src, glm::mat4 m) {
  const glm::mat4 fromCentre = glm::translate(glm::mat4(1.0f), centre(src));
  const glm::mat4 toCentre = glm::translate(glm::mat4(1.0f), -centre(dst));
  affineLinear(dst, src, fromCentre * m * toCentre);
}

template <typename T>
void scaleVolumeLinear(Volume<T>& dst, const Volume<T>& src) {
  const glm::vec3 ratio = glm::vec3(src.dimensions()) / glm::vec3(dst.dimensions());
  affineCenterLinear(dst, src, glm::scale(glm::mat4(1.0f), ratio));
}

template <typename T>
void growVolumeReplicateBoundary(Volume<T>& v, glm::ivec3 g) {
  v = grown(v, g, [](int u, int n) { return u < 0 ? 0 : u >= n ? n - 1 : u; });
}

template <typename T>
void growVolumeMirror(Volume<T>& v, glm::ivec3 g) {
  const glm::ivec3 limited(std::min(g.x, v.nx()), std::min(g.y, v.ny()), std::min(g.z, v.nz()));
  v = grown(v, limited, [](int u, int n) { return u < 0 ? -u - 1 : u >= n ? 2 * n - 1 - u : u; });
}

template void affineLinear(Volume<float>&, const Volume<float>&, glm::mat4);
template void affineLinear(Volume<double>&, const Volume<double>&, glm::mat4);
template void affineCenterLinear(Volume<float>&, const Volume<float>&, glm::mat4);
template void affineCenterLinear(Volume<double>&, const Volume<double>&, glm::mat4);
template void scaleVolumeLinear(Volume<float>&, const Volume<float>&);
template void scaleVolumeLinear(Volume<double>&, const Volume<double>&);
template void growVolumeMirror(Volume<float>&, glm::ivec3);
template void growVolumeReplicateBoundary(Volume<float>&, glm::ivec3);

}  // namespace mirel::reference
