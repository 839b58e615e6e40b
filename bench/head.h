#pragma once

#include "containers/volume.h"

namespace mirel {

/// A pair of head-like images with opposite phase encoding along y, the same on every machine: a
/// textured ellipsoid that fills two thirds of the field of view (42 to 45 percent of the voxels
/// are foreground, brighter than 100), displaced by a smooth field of up to some three voxels, its
/// intensity changed as the field stretches it.
struct HeadPair {
  Volume<float> ap, pa;
  Volume<float> vdm;  ///< the field, voxels along y
};

HeadPair makeHead(glm::ivec3 dims);

/// The size of the whole tasks: 104x104x72, or what MIREL_BENCH_SIZE says ("52x52x36").
glm::ivec3 taskSize();
/// Half of it along every axis, for single kernels that the slow reference repeats.
glm::ivec3 kernelSize();

/// The pair at one of the two sizes, made once.
const HeadPair& headOf(glm::ivec3 dims);

}  // namespace mirel
