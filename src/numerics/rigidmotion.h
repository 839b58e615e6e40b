#pragma once

#include <glm/mat3x3.hpp>
#include <glm/vec3.hpp>

namespace mirel {

/// A rigid motion p -> R p + t of positions in mm about the origin (for an image: the middle of
/// its grid), with R = Rz Ry Rx of the three angles.
struct RigidMotion {
  glm::dvec3 translationMm{0.0};
  glm::dvec3 rotationDegrees{0.0};

  bool isNone() const { return *this == RigidMotion{}; }
  bool operator==(const RigidMotion&) const = default;
  glm::dmat3 rotation() const;
  /// Where what is at `p` gets to: R p + t.
  glm::dvec3 after(glm::dvec3 p) const { return rotation() * p + translationMm; }
  /// Where what is now at `p` was before the motion: R^T (p - t). For users of the library.
  glm::dvec3 before(glm::dvec3 p) const;
  /// This motion and then a small one: a rotation by the vector `radians` (its axis, and its length
  /// as the angle) of R p alone, and a translation.
  RigidMotion followedBy(glm::dvec3 translation, glm::dvec3 radians) const;
  /// The same motion in coordinates with two axes (0 .. 2) exchanged.
  RigidMotion withExchanged(int axis, int other) const;
  /// The motion that leads back.
  RigidMotion inverse() const;
  /// The motion that, made twice, is this one; of rotations by less than half a turn.
  RigidMotion half() const;
};

/// The angle by which a rotation turns, 0 .. 180.
double turnedDegrees(const glm::dmat3& rotation);

/// No head moves farther within a scanner.
inline constexpr double farthestHeadMm = 40, farthestHeadDegrees = 30;

}  // namespace mirel
