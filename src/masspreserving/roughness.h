#pragma once

#include <functional>
#include <glm/vec3.hpp>

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
/// As a quadratic form:  b'(gradientWeight L + bendingWeight L^2) b / 2.
template <typename Real>
class Roughness {
 public:
  /// `parallel` does the slices of all that follows.
  Roughness(glm::ivec3 dims, glm::dvec3 spacing, double gradientWeight, double bendingWeight,
            Parallel parallel = {});

  glm::ivec3 dimensions() const { return dims; }
  const Parallel& inParallel() const { return parallel; }

  /// out = L b. `out` is another object than `b`.
  void laplacian(const Volume<Real>& b, Volume<Real>& out) const;
  /// out = (gradientWeight L + bendingWeight L^2) b.
  void apply(const Volume<Real>& b, Volume<Real>& out, Volume<Real>& scratch) const;
  /// The same in two halves, of which each does the slices from .. to - 1 of what it writes: first
  /// all of `scratch`, then `out`.
  void applyFirst(const Volume<Real>& b, Volume<Real>& scratch, int from, int to) const;
  void applySecond(const Volume<Real>& scratch, Volume<Real>& out, int from, int to) const;

  /// out += F z with F F' the form's matrix: a draw from it, where `next` gives the values of z,
  /// independent ones of mean 0 and variance 1 (one for each pair of neighbours and each voxel).
  void addRoot(const std::function<Real()>& next, Volume<Real>& out) const;

  /// Row j of the band matrix that couples the values of one column along y: entries for j, j + 1
  /// and j + 2 (0 off the grid). The couplings along x and z contribute their diagonal.
  struct BandRow {
    double diagonal, next, afterNext;
  };
  BandRow bandRow(int j) const;

 private:
  void laplacian(const Volume<Real>& b, Volume<Real>& out, int from, int to) const;

  Parallel parallel;
  glm::ivec3 dims;
  double inverseX, inverseY, inverseZ;  // 1 / h^2, 0 along axes of one voxel
  double gradient, bending;
};

extern template class Roughness<float>;
extern template class Roughness<double>;

}  // namespace mirel
