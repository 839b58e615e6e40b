#pragma once

#include "simd/variant.h"

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

/// Rows of squared differences: squares[amplitude * rowCount + row].
struct SsdRows {
  const double* const* squares;
};

/// Rows of the two resampled images, and the number of voxels of each centre's window.
struct NccRows {
  const float* const* ap;
  const float* const* pa;
  const float* voxelCount;
};

/// Values at positions that are not strictly inside are not defined; positions that are NaN are
/// not inside.
void resampleTrialRow(const TrialRow& row, SimdVariant variant);

/// squares[x] = double(ap[x] - pa[x])^2.
void squareDifferences(const float* ap, const float* pa, int nx, double* squares,
                       SimdVariant variant);

/// Least cost by the sum of squared differences: each sum in double, row by row, x ascending.
void searchRowSsd(const SearchRow& row, const SsdRows& rows, SimdVariant variant);

/// Least cost by the negated normalised cross-correlation: five sums in single precision, row by
/// row, x ascending; roots and division in double.
void searchRowNcc(const SearchRow& row, const NccRows& rows, SimdVariant variant);
