#pragma once

#include <glm/vec3.hpp>
#include <memory>

#include "containers/volume.h"
#include "numerics/parallel.h"

namespace mirel {

/// Factors of the roughness' bending term at the edges (see docs/mass-preserving.md, "Smoothness
/// from place to place"). In homogeneous tissue a field has no sources, its Laplacian is zero: so
/// factors grow from 1 far from any signal to 10 far inside of it. Where the field that was found
/// bends more than elsewhere it is allowed to: the prior of the Laplacian has the tails of
/// Student's t (K. L. Lange et al., J. Am. Stat. Assoc. 84:881, 1989), with the squared Laplacian
/// of a place taken together with what is near by.
class LocalBending {
 public:
  /// From the corrected images' mean, in units of the signal's level, at the voxels, and what
  /// counts of it there (weights from 0 to 1; empty: all). Lengths in mm.
  LocalBending(const Volume<float>& mean, const Volume<float>& weights, glm::dvec3 spacingMm,
               const Parallel& parallel);

  /// Adapts the factors to the field b that was found, at the edges.
  void adapt(const Volume<float>& b);

  const std::shared_ptr<const Volume<float>>& factors() const { return adapted; }

 private:
  glm::dvec3 spacing;
  Parallel parallel;
  Volume<float> inside;  // shares of signal
  double insideSum = 0.0;
  std::shared_ptr<const Volume<float>> ofTissue, adapted;  // factors by those, and by the field too
};

/// Smooths in place with exp(-|d| / lengthMm) along each axis, normalised; what is beyond the grid
/// is taken to be as its border.
void smoothExponentially(Volume<float>& v, double lengthMm, glm::dvec3 spacingMm,
                         const Parallel& parallel = {});

}  // namespace mirel
