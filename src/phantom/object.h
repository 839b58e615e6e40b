#pragma once

#include <cstdint>
#include <glm/vec3.hpp>

#include "containers/volume.h"
#include "numerics/rigidmotion.h"

namespace mirel {

/// Where the voxels of a phantom lie: voxel (i, j, k) has its centre at
/// ((i, j, k) - (size - 1) / 2) * voxelMm, x to the right, y anterior, z superior.
struct PhantomGrid {
  glm::ivec3 size;
  glm::dvec3 voxelMm;

  /// Of a position in voxels, which need not be whole.
  glm::dvec3 positionMm(glm::dvec3 voxel) const {
    return (voxel - (glm::dvec3(size) - 1.0) * 0.5) * voxelMm;
  }
  /// The inverse of `positionMm`.
  glm::dvec3 voxelAt(glm::dvec3 mm) const { return mm / voxelMm + (glm::dvec3(size) - 1.0) * 0.5; }
};

/// The head sampled in cells of a third of a voxel along x and y (the axes along which an image
/// may be distorted) and a voxel along z.
struct HeadObject {
  static constexpr int cellsPerVoxel = 3;

  Volume<float> density;            ///< signal, (3 nx, 3 ny, nz)
  Volume<float> image;              ///< its mean per voxel: the undistorted image, (nx, ny, nz)
  Volume<unsigned char> headMask;   ///< 1 where at least half of a voxel is head, cavities included
  Volume<unsigned char> brainMask;  ///< the same of brain: grey, white and the fluid in its outline
};

/// Factors of the tissues' signal, as another contrast (repetition time, say) makes them.
struct TissueContrast {
  float csf = 1.0F, grey = 1.0F, white = 1.0F;
};

/// Samples the head on a grid, fitted to the field of view: the anatomy is stretched along each
/// axis so that any grid, whatever its size and shape, holds the whole head, with two voxels to
/// spare on each side in plane.
///
/// The density carries a slow receive profile (brighter towards the coils) and a texture of 3 %,
/// and is smoothed along x and y with a Gaussian of 1.5 voxels full width at half maximum, the
/// blur of an echo-planar readout.
///
/// Errors  std::invalid_argument for a size below 1 or a voxel size that is not positive.
HeadObject sampleHead(const PhantomGrid& grid, std::uint64_t seed, const RigidMotion& motion = {},
                      const TissueContrast& contrast = {});

/// Susceptibility in ppm against air on `grid`, which is continued by `margin` voxels beyond each
/// face: element (0, 0, 0) is voxel -margin. The neck goes on in the lower margin.
Volume<double> sampleSusceptibility(const PhantomGrid& grid, glm::ivec3 margin, std::uint64_t seed);

}  // namespace mirel
