#pragma once

#include <Eigen/Core>
#include <array>
#include <vector>

#include "containers/volume.h"
#include "masspreserving/coarsegrid.h"
#include "numerics/parallel.h"

namespace mirel {

/// The functions whose sum is the logarithm of the ratio of two images' intensities, at the voxels
/// of one resolution: polynomials of the place (shading), and hats along the axis of intensities
/// (contrast). Coefficients are those of the polynomials, and then of the hats' knots.
template <typename Real>
class RatioBasis {
 public:
  /// Polynomials are products of Legendre's of x, y and z, which run from -1 to 1 along each axis,
  /// of a total degree of at most `degree`. `voxelPart` is the length of this grid's voxels in
  /// units of the whole axis. Knots lie at the relative intensities 0, knotStep, 2 knotStep ...;
  /// beyond the last the function is constant. `nearby`: the nodes of the
  /// intensities' level (`setIntensities`).
  RatioBasis(glm::ivec3 voxels, glm::dvec3 voxelPart, int degree, int knots, double knotStep,
             CoarseGrid nearby, Parallel parallel = {});

  const Parallel& inParallel() const { return parallel; }

  int size() const { return shapes() + knotCount; }
  int shapes() const { return static_cast<int>(degrees.size()); }

  /// Takes the intensities at which the second part is evaluated, in units of their level nearby
  /// (mean weighted with itself), and the variance of their noise: all functions are multiplied by
  /// t^4 / (t^4 + (k v)^2), so that they do not reach where there is only noise.
  void setIntensities(const Volume<Real>& intensity, double noiseVariance);

  /// a = sum of coefficient * function.
  void expand(const Eigen::VectorXd& coefficients, Volume<Real>& a) const;
  /// The transposed: sums over the voxels of v * function.
  Eigen::VectorXd project(const Volume<Real>& v) const;
  /// Sums over the voxels of w * function * function.
  Eigen::MatrixXd gram(const Volume<Real>& w) const;

  /// Quadratic forms of the coefficients of each part: the polynomials' degree weighs them, the
  /// differences between neighbours the knots.
  Eigen::VectorXd shapeRoughness() const;
  Eigen::MatrixXd knotRoughness() const;

 private:
  void addKnots(const Volume<Real>& v, double* ofKnots) const;
  void projectRow(const Volume<Real>& v, int row, double* ofX) const;
  // Polynomials of one axis at the voxels: [degree][voxel].
  using Table = std::vector<std::vector<Real>>;
  static Table tableOf(int voxels, double voxelPart, int degree);

  Parallel parallel;
  glm::ivec3 voxels;
  int degree, knotCount;
  double knotStep;
  std::vector<std::array<int, 3>> degrees;
  Table alongX, alongY, alongZ;
  CoarseGrid nearby;
  Volume<Real> gate;
  Volume<Real> knotPlace;  // intensity in units of knots, 0 .. knotCount - 1
};

extern template class RatioBasis<float>;
extern template class RatioBasis<double>;

}  // namespace mirel
