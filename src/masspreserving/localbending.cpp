#include "masspreserving/localbending.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "masspreserving/objective.h"
#include "masspreserving/roughness.h"

namespace mirel {

namespace {

// Tissue is brighter than this part of the signal's level.
constexpr float tissueLevel = 0.3F;
// How far a place is from where there is no signal, and the factor far inside.
constexpr double insideMm = 10.0;
constexpr float largestFactor = 10.0F;
// The neighbourhood whose squared Laplacians are taken together, and the degrees of freedom of
// their distribution.
constexpr double togetherMm = 6.0;
constexpr float degrees = 1.0F;

// v_k += a (v_(k-1) - v_k), one way along rows of `count` values and back; `rows` of them, `step`
// apart, side by side.
void smoothBothWays(float* v, int count, int step, int rows, float a) {
  for (int k = 1; k < count; ++k)
    for (int i = 0; i < rows; ++i) {
      float& here = v[static_cast<std::ptrdiff_t>(k) * step + i];
      here += a * (v[static_cast<std::ptrdiff_t>(k - 1) * step + i] - here);
    }
  for (int k = count - 2; k >= 0; --k)
    for (int i = 0; i < rows; ++i) {
      float& here = v[static_cast<std::ptrdiff_t>(k) * step + i];
      here += a * (v[static_cast<std::ptrdiff_t>(k + 1) * step + i] - here);
    }
}

float kept(double spacing, double length) {
  return static_cast<float>(std::exp(-spacing / length));
}

// How much of a place is tissue: 0 where there is no signal, 1 where there is.
Volume<float> tissueOf(const Volume<float>& mean, const Volume<float>& weights,
                       const Parallel& parallel) {
  Volume<float> tissue(mean.dimensions());
  inElements(parallel, mean.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) {
      const float t = std::max(mean.data()[i], 0.0F) / tissueLevel;
      const float fourth = std::min(t * t * t * t, 1e6F);
      tissue.data()[i] = fourth / (fourth + 1.0F);
      if (weights.size() > 0) tissue.data()[i] *= std::clamp(weights.data()[i], 0.0F, 1.0F);
    }
  });
  return tissue;
}

// From voxels to the edges between them; those at the ends have one voxel.
Volume<float> atEdges(const Volume<float>& voxels, const Parallel& parallel) {
  Volume<float> edges(glm::ivec3(voxels.nx(), voxels.ny() + 1, voxels.nz()));
  inSlices(parallel, edges.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z)
      for (int j = 0; j < edges.ny(); ++j) {
        const float* below = voxels.data() + voxels.index(0, std::max(j - 1, 0), z);
        const float* above = voxels.data() + voxels.index(0, std::min(j, voxels.ny() - 1), z);
        float* edge = edges.data() + edges.index(0, j, z);
        for (int x = 0; x < voxels.nx(); ++x) edge[x] = 0.5F * (below[x] + above[x]);
      }
  });
  return edges;
}

}  // namespace

void smoothExponentially(Volume<float>& v, double lengthMm, glm::dvec3 spacingMm,
                         const Parallel& parallel) {
  const int nx = v.nx(), ny = v.ny(), nz = v.nz();
  inSlices(parallel, v.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z) {
      for (int y = 0; y < ny; ++y)
        smoothBothWays(v.data() + v.index(0, y, z), nx, 1, 1, kept(spacingMm.x, lengthMm));
      smoothBothWays(v.data() + v.index(0, 0, z), ny, nx, nx, kept(spacingMm.y, lengthMm));
    }
  });
  inRanges(parallel, ny, piecesAtOnce(nx * nz), [&](int from, int to) {
    smoothBothWays(v.data() + v.index(0, from, 0), nz, nx * ny, nx * (to - from),
                   kept(spacingMm.z, lengthMm));
  });
}

LocalBending::LocalBending(const Volume<float>& mean, const Volume<float>& weights,
                           glm::dvec3 spacingMm, const Parallel& inThreads)
    : spacing(spacingMm), parallel(inThreads) {
  Volume<float> tissue = tissueOf(mean, weights, parallel);
  smoothExponentially(tissue, insideMm, spacing, parallel);
  inside = atEdges(tissue, parallel);
  insideSum = dot(inside, Volume<float>(inside.dimensions(), 1.0F), parallel);
  Volume<float> factors(inside.dimensions());
  inElements(parallel, inside.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) {
      const float share = inside.data()[i];
      factors.data()[i] = std::exp(share * share * std::log(largestFactor));
    }
  });
  adapted = ofTissue = std::make_shared<const Volume<float>>(std::move(factors));
}

void LocalBending::adapt(const Volume<float>& b) {
  const glm::ivec3 size = b.dimensions();
  Volume<float> energy(size);
  Roughness<float>(size, spacing, 1.0, 0.0, parallel).laplacian(b, energy);
  inElements(parallel, energy.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) {
      const float bend = energy.data()[i];
      energy.data()[i] = ofTissue->data()[i] * bend * bend;
    }
  });
  // The mean where there is tissue: elsewhere the field is but the continuation of what is there.
  const float mean = static_cast<float>(dot(energy, inside, parallel) / insideSum);
  if (!(mean > 0.0F)) return;
  smoothExponentially(energy, togetherMm, spacing, parallel);
  Volume<float> factors(size);
  inElements(parallel, factors.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i)
      factors.data()[i] =
          ofTissue->data()[i] * (degrees + 1.0F) / (degrees + energy.data()[i] / mean);
  });
  adapted = std::make_shared<const Volume<float>>(std::move(factors));
}

}  // namespace mirel
