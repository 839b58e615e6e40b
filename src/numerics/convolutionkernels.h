#pragma once

#include "simd/variant.h"

/// Lanes beyond a row's end that the kernel may read.
constexpr int convolutionBlock = 64;

/// One output row of a weighted convolution. Of each of `rowCount` rows the taps of output x are
/// the elements x .. x + taps - 1; elements outside the image and those of weight 0 hold 0 in
/// both arrays.
struct ConvolutionRow {
  const float* const* weightedImage;  ///< rows of image * weight
  const float* const* weight;
  const float* const* kernel;  ///< per row, `taps` elements
  int rowCount, taps, nx;
  bool normalize;
  float* out;  ///< nx values
};

/// out[x] = sum of weightedImage * kernel, row by row, x ascending, in single precision; with
/// `normalize` divided by the sum of weight * kernel where that is greater than 0.
void convolveRow(const ConvolutionRow& row, SimdVariant variant);
