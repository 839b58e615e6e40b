// The weighted convolution, one output voxel per lane. Every lane adds the products of its own
// taps in the order of a plain loop; taps outside the image or of weight 0 add 0 * kernel, which
// changes no bit of a sum that started at 0 as long as the kernel is finite.

typedef float Floats __attribute__((vector_size(laneCount * sizeof(float))));

inline void load(Floats& v, const float* p) { __builtin_memcpy(&v, p, sizeof v); }

constexpr int vectors = 4;
constexpr int block = vectors * laneCount;
static_assert(block <= convolutionBlock);

struct Sums {
  Floats value[vectors], normalizer[vectors];
};

inline void addRows(const ConvolutionRow& row, int x, Sums& result) {
  Sums sums = {};
  for (int r = 0; r < row.rowCount; ++r) {
    const float* image = row.weightedImage[r] + x;
    const float* weight = row.weight[r] + x;
    const float* kernel = row.kernel[r];
    for (int i = 0; i < row.taps; ++i)
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

void convolveRow(const ConvolutionRow& row) {
  for (int x = 0; x < row.nx; x += block) {
    Sums sums;
    addRows(row, x, sums);
    float results[block];
    for (int v = 0; v < vectors; ++v) {
      const Floats quotient = sums.value[v] / sums.normalizer[v];
      const Floats result =
          (sums.normalizer[v] > 0.0f) & -int(row.normalize) ? quotient : sums.value[v];
      __builtin_memcpy(results + v * laneCount, &result, sizeof result);
    }
    const int count = row.nx - x < block ? row.nx - x : block;
    __builtin_memcpy(row.out + x, results, static_cast<unsigned long>(count) * sizeof(float));
  }
}
