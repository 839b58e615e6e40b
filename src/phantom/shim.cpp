#include "phantom/shim.h"

#include <algorithm>
#include <cmath>

namespace mirel {

Shim::Shim(const Volume<unsigned char>& brain, glm::dvec3 voxelMm, glm::ivec3 fieldMargin)
    : mask(brain), margin(fieldMargin) {
  const glm::dvec3 size(mask.dimensions());
  centre = glm::dvec3(margin) + (size - 1.0) * 0.5;
  const glm::dvec3 extent = size * voxelMm;
  scale = voxelMm * (2.0 / std::max({extent.x, extent.y, extent.z}));

  std::array<std::array<double, terms>, terms> normal{};
  for (int z = 0; z < mask.nz(); ++z)
    for (int y = 0; y < mask.ny(); ++y)
      for (int x = 0; x < mask.nx(); ++x) {
        if (!mask.at(x, y, z)) continue;
        empty = false;
        const auto basis = basisAt(glm::ivec3(x, y, z) + margin);
        for (std::size_t i = 0; i < terms; ++i)
          for (std::size_t j = 0; j <= i; ++j) normal[i][j] += basis[i] * basis[j];
      }
  // A mask of few voxels does not determine all terms: a touch of ridge leaves those at 0.
  for (std::size_t i = 0; i < terms; ++i) {
    normal[i][i] += 1e-6 * normal[0][0];
    for (std::size_t j = 0; j <= i; ++j) {
      double sum = normal[i][j];
      for (std::size_t k = 0; k < j; ++k) sum -= cholesky[i][k] * cholesky[j][k];
      cholesky[i][j] = i == j ? std::sqrt(sum) : sum / cholesky[j][j];
    }
  }
}

std::array<double, Shim::terms> Shim::basisAt(glm::ivec3 fieldVoxel) const {
  const glm::dvec3 p = (glm::dvec3(fieldVoxel) - centre) * scale;
  return {1.0, p.x, p.y, p.z};
}

void Shim::removeFrom(Volume<double>& field) const {
  if (empty) return;
  std::array<double, terms> c{};
  for (int z = 0; z < mask.nz(); ++z)
    for (int y = 0; y < mask.ny(); ++y)
      for (int x = 0; x < mask.nx(); ++x) {
        if (!mask.at(x, y, z)) continue;
        const glm::ivec3 p = glm::ivec3(x, y, z) + margin;
        const auto basis = basisAt(p);
        for (std::size_t i = 0; i < terms; ++i) c[i] += basis[i] * field[p];
      }
  for (std::size_t i = 0; i < terms; ++i) {
    for (std::size_t k = 0; k < i; ++k) c[i] -= cholesky[i][k] * c[k];
    c[i] /= cholesky[i][i];
  }
  for (std::size_t i = terms; i-- > 0;) {
    for (std::size_t k = i + 1; k < terms; ++k) c[i] -= cholesky[k][i] * c[k];
    c[i] /= cholesky[i][i];
  }
  for (int z = 0; z < field.nz(); ++z)
    for (int y = 0; y < field.ny(); ++y)
      for (int x = 0; x < field.nx(); ++x) {
        const auto basis = basisAt(glm::ivec3(x, y, z));
        double fit = 0.0;
        for (std::size_t i = 0; i < terms; ++i) fit += c[i] * basis[i];
        field.at(x, y, z) -= fit;
      }
}

}  // namespace mirel
