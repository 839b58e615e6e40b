#pragma once

#include <cstddef>

#include "simd/variant.h"

namespace mirel {

/// The loops of the trial search, for one image row at a time (see trialsearch.h).

/// Lanes beyond a row's end that kernels may read and write: padded rows have as many spare
/// elements.
constexpr int trialBlock = 32;

/// One image row to be resampled at every amplitude. Slices and rows are x fastest.
struct TrialRow {
  const float* apSlice;  ///< (nx, ny) samples of the AP image
  const float* paSlice;
  const float* vdm;  ///< the row's displacements, voxels
  int y, nx, ny;
  const float* amplitudes;  ///< times the pattern's value
  int amplitudeCount;
  float* const* apTrials;  ///< out, per amplitude: nx values
  float* const* paTrials;
  unsigned char* allInside;  ///< out: 1 where every AP and PA position lies strictly inside
};

/// The centres of one image row and the rows that their windows cover. The window of centre x is,
/// in each of the rows, the `taps` elements from x on; elements outside the image hold 0, which
/// adds nothing.
struct SearchRow {
  int nx, taps, rowCount, amplitudeCount;
  const unsigned char* visited;  ///< per centre
  int* best;                     ///< out, per visited centre: the first amplitude of least cost
};

/// Centres that are searched for the least sum of squares at a time: rows of squares need as many
/// spare elements.
constexpr int ssdBlock = 8;

/// The squares of all amplitudes at one element of a row stand side by side, in whole blocks.
constexpr int amplitudeBlock = 8;
constexpr int paddedAmplitudes(int count) {
  return (count + amplitudeBlock - 1) / amplitudeBlock * amplitudeBlock;
}

/// One row of the two images, resampled at every amplitude: padded rows of nx values.
struct TrialPairs {
  const float* const* ap;
  const float* const* pa;
  int amplitudeCount, nx;
};

/// Rows of squared differences: squares[row][x * paddedAmplitudes + amplitude]. What stands beyond
/// the last amplitude is not looked at.
struct SsdRows {
  const double* const* squares;
};

/// Rows of the two resampled images at the first amplitude, those of the next amplitude `stride`
/// elements further each, and the number of voxels of each centre's window.
struct NccRows {
  const float* const* ap;
  const float* const* pa;
  std::size_t stride;
  const float* voxelCount;
};

/// Values at positions that are not strictly inside are not defined; positions that are NaN are
/// not inside.
void resampleTrialRow(const TrialRow& row, SimdVariant variant);

/// squares[x * paddedAmplitudes + i] = double(ap[i][x] - pa[i][x])^2, for the nx elements.
void squareDifferences(const TrialPairs& trials, double* squares, SimdVariant variant);

/// foreground[x] = 1 where ap[x] or pa[x] is above the threshold, else 0.
void markForeground(const float* ap, const float* pa, float threshold, int nx,
                    unsigned char* foreground, SimdVariant variant);

/// Least cost by the sum of squared differences: each sum in double, row by row, x ascending.
void searchRowSsd(const SearchRow& row, const SsdRows& rows, SimdVariant variant);

/// Least cost by the negated normalised cross-correlation: five sums in single precision, row by
/// row, x ascending; roots and division in double.
void searchRowNcc(const SearchRow& row, const NccRows& rows, SimdVariant variant);

}  // namespace mirel
