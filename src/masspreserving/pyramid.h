#pragma once

#include <glm/vec3.hpp>
#include <vector>

#include "containers/volume.h"
#include "numerics/parallel.h"

namespace mirel {

/// Grids of an estimate from fine to coarse.
struct PyramidLevel {
  glm::ivec3 voxels;
  glm::ivec3 factor;  ///< voxels of the original grid per voxel, along each axis
  glm::dvec3 voxelMm;
  glm::ivec3 halved;  ///< 2 along the axes halved with respect to the next finer level, else 1
};

/// The original grid and then coarser ones. Each halves the axes along which the voxels are not
/// more than 1.5 times as long as the shortest, so that they become more cubic, and which keep at
/// least `fewestVoxels` voxels. Ends when y is not halved any more, or no axis can be.
std::vector<PyramidLevel> makePyramid(glm::ivec3 voxels, glm::dvec3 voxelMm, int fewestVoxels);

/// Halves the axes with `halved` 2 by the weights (1, 3, 3, 1) / 8, which suppress what the coarse
/// grid cannot hold; beyond the ends the rows are continued constantly. Values that are not finite
/// count as 0.
Volume<float> coarsen(const Volume<float>& image, glm::ivec3 halved, const Parallel& parallel = {});

/// A displacement at the edges along y of a coarse grid on the edges of the next finer one with
/// `fineVoxels` voxels: linear interpolation, constant beyond the outermost places; values are
/// doubled where y was halved (voxels are smaller).
template <typename Real>
Volume<Real> prolong(const Volume<Real>& coarseEdges, glm::ivec3 fineVoxels, glm::ivec3 halved,
                     const Parallel& parallel = {});

/// Values at the centres of voxels from those at their edges along y: cubic interpolation
/// (-1, 9, 9, -1) / 16, linear next to the ends. A column in which that would let neighbours
/// differ by `largestStep` or more takes the means of the two edges, which differ no more than
/// the edges do.
template <typename Real>
Volume<float> edgesToVoxels(const Volume<Real>& edges, double largestStep);

/// Values at the edges along y from those at the voxels: means of neighbours, constant at the ends.
/// Neighbours differ by no more than the voxels' do.
Volume<float> voxelsToEdges(const Volume<float>& voxels);

/// Takes the values of each column along y so near to the one before that they differ by at most
/// `largestStep`.
void limitStretch(Volume<float>& voxels, float largestStep);

extern template Volume<float> prolong(const Volume<float>&, glm::ivec3, glm::ivec3,
                                      const Parallel&);
extern template Volume<double> prolong(const Volume<double>&, glm::ivec3, glm::ivec3,
                                       const Parallel&);
extern template Volume<float> edgesToVoxels(const Volume<float>&, double);
extern template Volume<float> edgesToVoxels(const Volume<double>&, double);

}  // namespace mirel
