// The weighted convolution, one output voxel per lane. A plane with zeros between its rows is one
// long row: lanes run on from row to row, and what they sum between rows is thrown away. Several
// output planes are summed at a time, since an image plane that is tap plane k of one output is
// tap plane k - 1 of the next: every vector that is loaded serves all of them, and loads do not
// hold up the arithmetic. Every lane still adds the products of its own taps in the order of a
// plain loop, because image planes come in ascending order for all outputs. An image plane beyond
// the reach of an output is left out, never multiplied by 0: it may hold infinities and NaN.
// Elements that are 0 add 0 * kernel, which changes no bit of a sum that started at 0 as long as
// the kernel is finite.

// Output planes and vectors whose sums stay in registers, two of each, beside what is loaded: 24
// of the 32 registers of AVX-512. Of the 16 of AVX2 eight do best, which leave room for the taps of
// all planes, and 12 of SSE, where spreading a tap over a register costs most. The last planes and
// the last block of a run take as many as they need.
constexpr int mostPlanes = laneCount == 4 ? 2 : 4;
constexpr int mostVectors = laneCount == 8 ? 1 : 3;
static_assert(mostVectors * laneCount <= convolutionBlock);

template <int vectors>
struct Sums {
  Floats value[vectors], normalizer[vectors];
};

// Where the taps of a block of outputs begin, and the rows of taps that meet image rows.
struct TapRows {
  const float *weightedImage, *weight;  // of tap row 0
  int begin, end;
};

// Adds an image plane to neighbouring outputs. `kernel` is the tap plane of the first of them; the
// next output takes the tap plane before.
template <int planes, int vectors>
inline void addPlane(const SpreadConvolution& c, const TapRows& rows, const float* kernel,
                     Sums<vectors>* result) {
  const std::ptrdiff_t kernelPlane = c.taps.x * c.taps.y;
  Sums<vectors> sums[planes];
#pragma GCC unroll 4
  for (int p = 0; p < planes; ++p) sums[p] = result[p];
  for (int j = rows.begin; j < rows.end; ++j) {
    const float* image = rows.weightedImage + j * c.rowStride;
    const float* weight = rows.weight + j * c.rowStride;
    const float* taps = kernel + j * c.taps.x;
    for (int i = 0; i < c.taps.x; ++i)
#pragma GCC unroll 4
      for (int v = 0; v < vectors; ++v) {
        Floats a, w;
        load(a, image + i + v * laneCount);
        load(w, weight + i + v * laneCount);
#pragma GCC unroll 4
        for (int p = 0; p < planes; ++p) {
          const float tap = taps[i - p * kernelPlane];
          sums[p].value[v] += a * tap;
          sums[p].normalizer[v] += w * tap;
        }
      }
  }
#pragma GCC unroll 4
  for (int p = 0; p < planes; ++p) result[p] = sums[p];
}

template <int planes, int vectors>
inline void addPlanes(const SpreadConvolution& c, const TapRows& rows, const float* kernel,
                      int count, Sums<vectors>* sums) {
  if constexpr (planes > 1)
    if (count < planes) return addPlanes<planes - 1>(c, rows, kernel, count, sums);
  addPlane<planes>(c, rows, kernel, sums);
}

// Without the rows of taps that meet no image row from any of the outputs start .. end - 1.
inline TapRows tapRows(const SpreadConvolution& c, std::ptrdiff_t start, std::ptrdiff_t end) {
  const int firstRow = static_cast<int>(start / c.rowStride);
  const int lastRow = static_cast<int>((end - 1) / c.rowStride);
  const int reach = c.taps.y / 2, rowEnd = c.dims.y - firstRow + reach;
  const std::ptrdiff_t corner = start - reach * c.rowStride - c.taps.x / 2;
  return {c.weightedImage + corner, c.weight + corner, reach > lastRow ? reach - lastRow : 0,
          rowEnd < c.taps.y ? rowEnd : c.taps.y};
}

// The outputs start .. end - 1 of the planes z .. z + planes - 1.
template <int vectors>
inline void sumBlock(const SpreadConvolution& c, int z, int planes, std::ptrdiff_t start,
                     std::ptrdiff_t end, Sums<vectors>* sums) {
  const TapRows corner = tapRows(c, start, end);
  const int below = z - c.taps.z / 2, above = below + planes + c.taps.z - 1;
  for (int t = below > 0 ? below : 0; t < c.dims.z && t < above; ++t) {
    const int k = t - below;  // the tap plane of output z
    const int first = k < c.taps.z ? 0 : k - c.taps.z + 1;
    const int count = (k + 1 < planes ? k + 1 : planes) - first;
    TapRows rows = corner;
    rows.weightedImage += t * c.planeStride;
    rows.weight += t * c.planeStride;
    addPlanes<mostPlanes>(c, rows, c.kernel + (k - first) * c.taps.x * c.taps.y, count,
                          sums + first);
  }
}

// Stores those outputs start .. end - 1 that are voxels, piece by piece of a row.
template <int vectors>
inline void storeBlock(const SpreadConvolution& c, int z, std::ptrdiff_t start, std::ptrdiff_t end,
                       const Sums<vectors>& sums) {
  float values[vectors * laneCount];
  for (int v = 0; v < vectors; ++v) {
    const Floats quotient = sums.value[v] / sums.normalizer[v];
    const Floats result =
        (sums.normalizer[v] > 0.0f) & -int(c.normalize) ? quotient : sums.value[v];
    store(values + v * laneCount, result);
  }
  for (std::ptrdiff_t at = start; at < end;) {
    const std::ptrdiff_t y = at / c.rowStride, x = at % c.rowStride;
    const std::ptrdiff_t rowEnd =
        y * c.rowStride + c.dims.x < end ? y * c.rowStride + c.dims.x : end;
    if (at < rowEnd)
      __builtin_memcpy(c.out + (z * std::ptrdiff_t{c.dims.y} + y) * c.dims.x + x,
                       values + (at - start),
                       static_cast<unsigned long>(rowEnd - at) * sizeof(float));
    at = (y + 1) * c.rowStride;
  }
}

template <int vectors>
inline void convolveBlock(const SpreadConvolution& c, int z, int planes, std::ptrdiff_t start,
                          std::ptrdiff_t end) {
  if constexpr (vectors > 1)
    if (end - start <= (vectors - 1) * laneCount)
      return convolveBlock<vectors - 1>(c, z, planes, start, end);
  Sums<vectors> sums[mostPlanes] = {};
  sumBlock(c, z, planes, start, end, sums);
  for (int p = 0; p < planes; ++p) storeBlock(c, z + p, start, end, sums[p]);
}

// Outputs that are blocked as one: `count` times `length` elements, `stride` apart.
struct Runs {
  std::ptrdiff_t count, length, stride;

  std::ptrdiff_t vectors() const { return count * ((length + laneCount - 1) / laneCount); }
};

// Whole planes, unless rows fill their vectors so well that the gaps between them cost more.
inline Runs chooseRuns(const SpreadConvolution& c) {
  const Runs rows = {c.dims.y, c.dims.x, c.rowStride};
  const Runs plane = {1, (c.dims.y - 1) * c.rowStride + c.dims.x, 0};
  return rows.vectors() <= plane.vectors() ? rows : plane;
}

void convolveSpread(const SpreadConvolution& c) {
  constexpr int block = mostVectors * laneCount;
  const Runs runs = chooseRuns(c);
  for (int z = 0; z < c.dims.z; z += mostPlanes) {
    const int planes = c.dims.z - z < mostPlanes ? c.dims.z - z : mostPlanes;
    for (std::ptrdiff_t run = 0; run < runs.count; ++run) {
      const std::ptrdiff_t runEnd = run * runs.stride + runs.length;
      for (std::ptrdiff_t start = run * runs.stride; start < runEnd; start += block)
        convolveBlock<mostVectors>(c, z, planes, start,
                                   start + block < runEnd ? start + block : runEnd);
    }
  }
}
