#pragma once

#include <functional>
#include <glm/vec3.hpp>
#include <memory>

#include "containers/volume.h"
#include "numerics/parallel.h"

namespace mirel {

/// Roughness of a field b on a grid with a spacing h, through the grid's Laplacian
///
///   (L b)_i = sum over neighbours k of (b_i - b_k) / h_axis^2     (neighbours off the grid: none)
///
/// L is symmetric and positive semidefinite; b'L b is the sum of the squared difference quotients
/// of all neighbours, b'L^2 b that of the squared Laplacian.
///
/// As a quadratic form:  b'(gradientWeight L + bendingWeight L K L) b / 2, K the diagonal matrix of
/// positive factors: where the field bends more and less.
template <typename Real>
class Roughness {
 public:
  /// One per value of b; null: K = 1.
  using Factors = std::shared_ptr<const Volume<Real>>;

  /// `parallel` does the slices of all that follows.
  Roughness(glm::ivec3 dims, glm::dvec3 spacing, double gradientWeight, double bendingWeight,
            Parallel parallel = {}, Factors bendingFactors = nullptr);

  glm::ivec3 dimensions() const { return dims; }
  const Parallel& inParallel() const { return parallel; }

  /// out = L b. `out` is another object than `b`.
  void laplacian(const Volume<Real>& b, Volume<Real>& out) const;
  /// out = (gradientWeight L + bendingWeight L K L) b.
  void apply(const Volume<Real>& b, Volume<Real>& out, Volume<Real>& scratch) const;
  /// The same in two halves, of which each does the slices from .. to - 1 of what it writes: first
  /// all of `scratch`, then `out`.
  void applyFirst(const Volume<Real>& b, Volume<Real>& scratch, int from, int to) const;
  void applySecond(const Volume<Real>& scratch, Volume<Real>& out, int from, int to) const;

  /// out += F z with F F' the form's matrix: a draw from it, where `next` gives the values of z,
  /// independent ones of mean 0 and variance 1 (one for each pair of neighbours and each voxel).
  void addRoot(const std::function<Real()>& next, Volume<Real>& out) const;

  /// Row j of the band matrix that couples the values of one column along y: entries for j, j + 1
  /// and j + 2 (0 off the grid), with K = 1. The couplings along x and z contribute their diagonal.
  struct BandRow {
    double diagonal, next, afterNext;
  };
  BandRow gradientRow(int j) const;
  BandRow bendingRow(int j) const;
  const Factors& bendingFactors() const { return factors; }

 private:
  double ofColumn(int j) const;
  void laplacian(const Volume<Real>& b, Volume<Real>& out, int from, int to) const;

  Parallel parallel;
  glm::ivec3 dims;
  double inverseX, inverseY, inverseZ;  // 1 / h^2, 0 along axes of one voxel
  double gradient, bending;
  Factors factors;
};

extern template class Roughness<float>;
extern template class Roughness<double>;

}  // namespace mirel
