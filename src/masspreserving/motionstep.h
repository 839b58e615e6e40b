#pragma once

#include <Eigen/Core>
#include <array>

#include "containers/volume.h"
#include "masspreserving/linesolver.h"
#include "masspreserving/movedimage.h"
#include "masspreserving/objective.h"

namespace mirel {

/// The parameters of a small rigid motion that images of one phase-encoding axis can tell: not the
/// translation along y, which a constant in the displacement does as well.
constexpr int motionParameters = 5;
using MotionVector = Eigen::Matrix<double, motionParameters, 1>;
using MotionMatrix = Eigen::Matrix<double, motionParameters, motionParameters>;

/// In the order of `MotionVector`: translations in mm along x and z, and a rotation vector in
/// radians.
glm::dvec3 translationOf(const MotionVector& parameters);
glm::dvec3 rotationOf(const MotionVector& parameters);
MotionVector parametersOf(const RigidMotion& motion);

/// A Gauss-Newton step of the motion with the displacement going along.
struct MotionStep {
  MotionVector change;     ///< to be made after the motion so far
  MotionMatrix precision;  ///< Hessian of the motion with the displacement following it
  /// Scatter of the gradient's contributions from the 4 x 4 x 4 blocks of the volume. With
  /// residuals that are independent noise it is about `precision`; where they have structure,
  /// larger.
  MotionMatrix scatter;
  Volume<float> shift;  ///< the change of b that belongs to it
  int solverIterations = 0;
};

/// chi^2 of motion parameters whose covariance is that of clustered data, P^-1 (S + P) P^-1 with
/// the precision P and the scatter S of a step (P. Huber, 5th Berkeley Symp. 1:221, 1967; K.-Y.
/// Liang & S. Zeger, Biometrika 73:13, 1986): what images differ by besides noise is alike within a
/// block, and counts as one observation rather than many.
double chiSquareOf(const MotionVector& parameters, const MotionStep& step);

/// A pair as it would be had the head stayed half way between its two places: the first image taken
/// by the inverse of half the motion, the second by half the motion. So both are interpolated
/// alike, and exchanging the images changes nothing but signs.
struct HalfWayPair {
  RigidMotion toFirst, toSecond;
  Volume<float> first, second;
  Volume<unsigned char> firstKnown, secondKnown;

  HalfWayPair(MovedImage& first, MovedImage& second, const RigidMotion& motion,
              const Volume<float>& b);
  /// Of a head that did not move: the images themselves.
  HalfWayPair(Volume<float> first, Volume<float> second);
};

/// How much the residuals (voxels) change with each motion parameter, at the displacement b.
std::array<Volume<float>, motionParameters> motionDerivatives(const HalfWayPair& pair,
                                                              const Volume<float>& b,
                                                              const GridPlace& place,
                                                              const Parallel& parallel = {});

/// Z = H^-1 A (below), one volume (edges) per parameter: how b follows the motion, with a minus.
using MotionResponse = std::array<Volume<float>, motionParameters>;

/// With H the Hessian of b, A = J'W D the coupling and M = D'W D (D the derivatives above), the
/// joint Gauss-Newton step eliminates b:
///
///   (M - A' H^-1 A) dp = -(D'W r - A' H^-1 g),     db = -H^-1 A dp
///
/// A wide prior (10 mm and 10 degrees about no motion) keeps what the images do not tell, such as
/// the rotation of a sphere, at none.
///
/// `objective` was linearised at b, `gradient` is its gradient there, `lines` the preconditioner
/// of its Hessian. `response` is where the solutions for Z start, and takes them. The step allows
/// for what is left of inexact ones.
MotionStep motionStep(Objective<float>& objective, const LineSolver<float>& lines,
                      const Volume<float>& gradient,
                      const std::array<Volume<float>, motionParameters>& derivatives,
                      const RigidMotion& motion, MotionResponse& response, double tolerance,
                      int maxSolverIterations);

}  // namespace mirel
