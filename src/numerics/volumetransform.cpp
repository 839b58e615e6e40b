#include "numerics/volumetransform.h"

#include <algorithm>
#include <glm/common.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <utility>

#include "base/assertion.h"

namespace mirel {

namespace {

constexpr const char* transformSource = "src/numerics/volumetransform.cpp";

template <typename T>
void requireDistinct(const Volume<T>& dst, const Volume<T>& src, int line) {
  require(&dst != &src, transformSource, line, "&dst != &src");
}

template <typename T>
void resampleAffine(Volume<T>& dst, const Volume<T>& src, const glm::mat4& m) {
  for (int z = 0; z < dst.nz(); ++z)
    for (int y = 0; y < dst.ny(); ++y)
      for (int x = 0; x < dst.nx(); ++x) {
        const glm::vec4 p = m[2] * static_cast<float>(z) + m[3] +
                            (m[1] * static_cast<float>(y) + m[0] * static_cast<float>(x));
        dst.at(x, y, z) = src.linear(p.x, p.y, p.z);
      }
}

glm::vec3 centre(glm::ivec3 dims) { return (glm::vec3(dims) - 1.0f) * 0.5f; }

template <typename T>
void resampleCentred(Volume<T>& dst, const Volume<T>& src, const glm::mat4& m) {
  const glm::mat4 one(1.0f);
  resampleAffine(dst, src,
                 glm::translate(one, centre(src.dimensions())) * m *
                     glm::translate(one, -centre(dst.dimensions())));
}

int clampIndex(int u, int n) { return u < 0 ? 0 : u >= n ? n - 1 : u; }

int reflectIndex(int u, int n) { return u < 0 ? -u - 1 : u >= n ? 2 * n - 1 - u : u; }

// The grown volume whose voxel p' is v at source(u, n) per axis, u = p' - g. Inside, source(u, n)
// is u.
template <typename T, typename Source>
Volume<T> grown(const Volume<T>& v, glm::ivec3 g, Source source) {
  if (v.size() == 0) return Volume<T>(v.dimensions() + 2 * g, T(0));
  Volume<T> result(v.dimensions() + 2 * g);
  const int begin = std::max(0, g.x), end = std::min(result.nx(), g.x + v.nx());
  for (int z = 0; z < result.nz(); ++z)
    for (int y = 0; y < result.ny(); ++y) {
      const T* row = &v.at(0, source(y - g.y, v.ny()), source(z - g.z, v.nz()));
      T* out = result.data() + result.index(0, y, z);
      for (int x = 0; x < begin; ++x) out[x] = row[source(x - g.x, v.nx())];
      std::copy(row + (begin - g.x), row + (end - g.x), out + begin);
      for (int x = end; x < result.nx(); ++x) out[x] = row[source(x - g.x, v.nx())];
    }
  return result;
}

}  // namespace

template <typename T>
void affineLinear(Volume<T>& dst, const Volume<T>& src, glm::mat4 m) {
  requireDistinct(dst, src, 14);
  resampleAffine(dst, src, m);
}

template <typename T>
void affineCenterLinear(Volume<T>& dst, const Volume<T>& src, glm::mat4 m) {
  requireDistinct(dst, src, 26);
  resampleCentred(dst, src, m);
}

template <typename T>
void scaleVolumeLinear(Volume<T>& dst, const Volume<T>& src) {
  requireDistinct(dst, src, 37);
  const glm::vec3 ratio = glm::vec3(src.dimensions()) / glm::vec3(dst.dimensions());
  resampleCentred(dst, src, glm::scale(glm::mat4(1.0f), ratio));
}

template <typename T>
void growVolumeMirror(Volume<T>& v, glm::ivec3 g) {
  v = grown(v, glm::min(g, v.dimensions()), reflectIndex);
}

template <typename T>
void growVolumeReplicateBoundary(Volume<T>& v, glm::ivec3 g) {
  v = replicatedBoundary(v, g);
}

template <typename T>
Volume<T> replicatedBoundary(const Volume<T>& v, glm::ivec3 g) {
  return grown(v, g, clampIndex);
}

template void affineLinear(Volume<float>&, const Volume<float>&, glm::mat4);
template void affineLinear(Volume<double>&, const Volume<double>&, glm::mat4);
template void affineCenterLinear(Volume<float>&, const Volume<float>&, glm::mat4);
template void affineCenterLinear(Volume<double>&, const Volume<double>&, glm::mat4);
template void scaleVolumeLinear(Volume<float>&, const Volume<float>&);
template void scaleVolumeLinear(Volume<double>&, const Volume<double>&);
template void growVolumeMirror(Volume<float>&, glm::ivec3);
template void growVolumeReplicateBoundary(Volume<float>&, glm::ivec3);
template Volume<float> replicatedBoundary(const Volume<float>&, glm::ivec3);

}  // namespace mirel
