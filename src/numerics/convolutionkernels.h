#pragma once

#include <cstddef>

#include "simd/variant.h"

namespace mirel {

/// Elements beyond the last voxel that the kernel may read.
constexpr int convolutionBlock = 64;

/// Sizes along x, y and z.
struct ConvolutionSizes {
  int x, y, z;
};

/// A weighted convolution of a volume whose rows and planes lie apart: voxel (x, y, z) is element
/// x + y * rowStride + z * planeStride of `weightedImage` and of `weight`. Elements between rows
/// and between planes, those before the first voxel and after the last, and voxels of weight 0
/// hold 0 in both. A tap that leaves its row or plane must meet such elements only, so the gaps
/// are as wide as the kernel reaches. The kernel must be finite.
struct SpreadConvolution {
  const float* weightedImage;  ///< image * weight
  const float* weight;
  const float* kernel;  ///< taps.x * taps.y * taps.z elements, centred on taps / 2
  ConvolutionSizes taps, dims;
  std::ptrdiff_t rowStride, planeStride;
  bool normalize;
  float* out;  ///< the voxels, side by side
};

/// out = sum of weightedImage * kernel, with z outermost and x innermost, ascending, in single
/// precision; with `normalize` divided by the sum of weight * kernel where that is greater than 0.
void convolveSpread(const SpreadConvolution& convolution, SimdVariant variant);

}  // namespace mirel
