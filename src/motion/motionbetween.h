#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <vector>

namespace mirel {

/// Where the head is known to be in a volume, counted from 0.
struct KnownMotion {
  int volume = 0;
  glm::dmat4 motion{1.0};  ///< rigid, as in SeriesMotion::fromReference
};

/// The motions of volumes 0 .. volumes - 1, of which some are `known`, in ascending order. Between
/// two of them the head is taken to turn at constant speed about one axis, while the place
/// `middleMm` of it moves along a line; before the first and after the last it keeps still. Without
/// any it is at its reference place.
std::vector<glm::dmat4> motionsBetween(int volumes, const std::vector<KnownMotion>& known,
                                       const glm::dvec3& middleMm);

}  // namespace mirel
