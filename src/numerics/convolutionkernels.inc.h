// The weighted convolution, one output voxel per lane. Every lane adds the products of its own
// taps in the order of a plain loop; taps outside the image or of weight 0 add 0 * kernel, which
// changes no bit of a sum that started at 0 as long as the kernel is finite.

// Vectors of outputs that are summed side by side; a row's last block takes as many as it needs.
constexpr int mostVectors = 4;
static_assert(mostVectors * laneCount <= convolutionBlock);

template <int vectors>
struct Sums {
  Floats value[vectors], normalizer[vectors];
};

template <int vectors>
inline void addRows(const ConvolutionRow& row, int x, Sums<vectors>& result) {
  Sums<vectors> sums = {};
  for (int r = 0; r < row.rowCount; ++r) {
    const float* image = row.weightedImage[r] + x;
    const float* weight = row.weight[r] + x;
    const float* kernel = row.kernel[r];
    for (int i = 0; i < row.taps; ++i)
#pragma GCC unroll 4
      for (int v = 0; v < vectors; ++v) {
        Floats a, w;
        load(a, image + i + v * laneCount);
        load(w, weight + i + v * laneCount);
        sums.value[v] += a * kernel[i];
        sums.normalizer[v] += w * kernel[i];
      }
  }
  result = sums;
}

template <int vectors>
inline void convolveBlock(const ConvolutionRow& row, int x) {
  if constexpr (vectors > 1)
    if (row.nx - x <= (vectors - 1) * laneCount) return convolveBlock<vectors - 1>(row, x);
  Sums<vectors> sums;
  addRows(row, x, sums);
  for (int v = 0; v < vectors; ++v) {
    const Floats quotient = sums.value[v] / sums.normalizer[v];
    const Floats result =
        (sums.normalizer[v] > 0.0f) & -int(row.normalize) ? quotient : sums.value[v];
    const int start = x + v * laneCount, left = row.nx - start;
    if (left > 0) storeSome(row.out + start, result, left < laneCount ? left : laneCount);
  }
}

void convolveRow(const ConvolutionRow& row) {
  for (int x = 0; x < row.nx; x += mostVectors * laneCount) convolveBlock<mostVectors>(row, x);
}
