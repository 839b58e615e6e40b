#include "numerics/rigidmotion.h"

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>
#include <glm/matrix.hpp>
#include <numbers>
#include <utility>

namespace mirel {

namespace {

constexpr double degree = std::numbers::pi / 180.0;

// The rotation by the angle |v| about the axis v (Rodrigues' formula).
glm::dmat3 rotationBy(glm::dvec3 v) {
  const double angle = glm::length(v);
  if (!(angle > 0.0)) return glm::dmat3(1.0);
  const glm::dvec3 axis = v / angle;
  const glm::dmat3 cross(0, axis.z, -axis.y, -axis.z, 0, axis.x, axis.y, -axis.x, 0);
  return glm::dmat3(1.0) + std::sin(angle) * cross + (1.0 - std::cos(angle)) * (cross * cross);
}

// The angles in degrees of R = Rz Ry Rx; r[column][row].
glm::dvec3 anglesOf(const glm::dmat3& r) {
  const double cosine = std::hypot(r[0][0], r[0][1]);
  const double y = std::atan2(-r[0][2], cosine);
  // About x and z it then turns in the same way, and rounding would choose the two angles.
  if (cosine < 1e-7) return glm::dvec3(std::atan2(-r[2][1], r[1][1]), y, 0.0) / degree;
  return glm::dvec3(std::atan2(r[1][2], r[2][2]), y, std::atan2(r[0][1], r[0][0])) / degree;
}

// The inverse of `rotationBy`, for angles below half a turn.
glm::dvec3 rotationVector(const glm::dmat3& r) {
  const glm::dvec3 twice(r[1][2] - r[2][1], r[2][0] - r[0][2], r[0][1] - r[1][0]);
  const double sine = 0.5 * glm::length(twice);
  const double cosine = 0.5 * (r[0][0] + r[1][1] + r[2][2] - 1.0);
  return sine > 0.0 ? twice * (0.5 * std::atan2(sine, cosine) / sine) : glm::dvec3(0.0);
}

}  // namespace

glm::dmat3 RigidMotion::rotation() const {
  const glm::dvec3 a = rotationDegrees * degree;
  const double cx = std::cos(a.x), sx = std::sin(a.x), cy = std::cos(a.y), sy = std::sin(a.y),
               cz = std::cos(a.z), sz = std::sin(a.z);
  const glm::dmat3 rx(1, 0, 0, 0, cx, sx, 0, -sx, cx);
  const glm::dmat3 ry(cy, 0, -sy, 0, 1, 0, sy, 0, cy);
  const glm::dmat3 rz(cz, sz, 0, -sz, cz, 0, 0, 0, 1);
  return rz * ry * rx;
}

glm::dvec3 RigidMotion::before(glm::dvec3 p) const {
  return glm::transpose(rotation()) * (p - translationMm);
}

RigidMotion RigidMotion::followedBy(glm::dvec3 translation, glm::dvec3 radians) const {
  return {translationMm + translation, anglesOf(rotationBy(radians) * rotation())};
}

RigidMotion RigidMotion::withExchanged(int axis, int other) const {
  glm::dvec3 translation = translationMm;
  std::swap(translation[axis], translation[other]);
  glm::dmat3 r = rotation();
  std::swap(r[axis], r[other]);
  for (int column = 0; column < 3; ++column) std::swap(r[column][axis], r[column][other]);
  return {translation, anglesOf(r)};
}

RigidMotion RigidMotion::inverse() const {
  const glm::dmat3 back = glm::transpose(rotation());
  return {-(back * translationMm), anglesOf(back)};
}

RigidMotion RigidMotion::half() const {
  const glm::dmat3 r = rotationBy(0.5 * rotationVector(rotation()));
  return {glm::inverse(glm::dmat3(1.0) + r) * translationMm, anglesOf(r)};
}

double turnedDegrees(const glm::dmat3& r) {
  const double cosine = std::clamp(0.5 * (r[0][0] + r[1][1] + r[2][2] - 1.0), -1.0, 1.0);
  return std::acos(cosine) * 180.0 / std::numbers::pi;
}

}  // namespace mirel
