// Resampling along y, one column per lane.

// Row r of a block of `count` columns; 0 off the grid.
MIREL_INLINE void gridRow(const float* block, int nx, int ny, int count, int r, Floats& value) {
  value = Floats{};
  if (r >= 0 && r < ny) loadSome(value, block + r * nx, count);
}

// The elements of the rows `row0` and `row0` + 1 of a block of columns, where `touches` holds; 0
// off the grid.
MIREL_INLINE void pickRows(const float* block, int nx, int ny, int count, const Ints& row0,
                           const Ints& touches, Floats& value0, Floats& value1) {
  RowRange range;
  findRange(row0, touches, range);
  value0 = value1 = Floats{};
  if (range.isNarrow()) {
    Floats above, below;
    gridRow(block, nx, ny, count, range.lowest, above);
    for (int r = range.lowest; r <= range.highest; ++r) {
      gridRow(block, nx, ny, count, r + 1, below);
      value0 = row0 == r ? above : value0;
      value1 = row0 == r ? below : value1;
      above = below;
    }
    return;
  }
  for (int l = 0; l < count; ++l) {
    if (touches[l] == 0) continue;
    const int r = row0[l];
    if (r >= 0) value0[l] = block[r * nx + l];
    if (r + 1 < ny) value1[l] = block[(r + 1) * nx + l];
  }
}

void resampleSliceLinear(const ResamplingSlice& in) {
  const float sign = in.reverse ? -1.0f : 1.0f;
  for (int y = 0; y < in.ny; ++y)
    for (int x = 0; x < in.nx; x += laneCount) {
      const int count = in.nx - x < laneCount ? in.nx - x : laneCount;
      Floats shift;
      loadSome(shift, in.vdm + y * in.nx + x, count);
      const Floats position = shift * sign + static_cast<float>(y);
      const Ints touches = (position >= -1.0f) & (position < static_cast<float>(in.ny));
      const Floats safe = touches ? position : Floats{};
      const Ints row0 = __builtin_convertvector(safe + 2.0f, Ints) - 2;
      const Floats weight1 = safe - __builtin_convertvector(row0, Floats);
      const Floats weight0 = 1.0f - weight1;
      Floats value0, value1;
      pickRows(in.src + x, in.nx, in.ny, count, row0, touches, value0, value1);
      const Floats value = touches ? value0 * weight0 + value1 * weight1 : Floats{};
      storeSome(in.dst + y * in.nx + x, value, count);
    }
}

// The spline is computed in double, a block of two registers of columns at a time: each row waits
// for the one before, and two chains of such rows take hardly longer than one. The rows above and
// below the column are never written: they stay 0.
constexpr int splineBlock = 2 * halfCount;

// How many of a block's `count` columns lie in register v.
inline int columnsOf(int count, int v) {
  const int left = count - v * halfCount;
  return left < 0 ? 0 : left < halfCount ? left : halfCount;
}

inline void computeCoefficients(const ResamplingSlice& in, const SplineScratch& scratch, int x,
                                int count) {
  double* q = scratch.coefficients + rowsAbove * splineBlock;
  Doubles previous[2] = {};
  for (int y = 0; y < in.ny; ++y)
#pragma GCC unroll 2
    for (int v = 0; v < 2; ++v) {
      HalfFloats samples = {};
      if (columnsOf(count, v) > 0)
        loadSome(samples, in.src + y * in.nx + x + v * halfCount, columnsOf(count, v));
      const Doubles f = __builtin_convertvector(samples, Doubles);
      previous[v] = y == 0 ? f * scratch.d[0] : (previous[v] * (-sixth) + f) * scratch.d[y];
      store(q + y * splineBlock + v * halfCount, previous[v]);
    }
  for (int y = in.ny - 2; y >= 0; --y)
#pragma GCC unroll 2
    for (int v = 0; v < 2; ++v) {
      Doubles row;
      load(row, q + y * splineBlock + v * halfCount);
      previous[v] = row - scratch.e[y] * previous[v];
      store(q + y * splineBlock + v * halfCount, previous[v]);
    }
}

// The coefficients of the rows `row` - 1 .. `row` + 2.
struct Taps {
  Doubles q0, q1, q2, q3;
};

MIREL_INLINE void pickTaps(const double* coefficients, const HalfInts& row, const HalfInts& touches,
                           Taps& result) {
  Taps q = {};
  RowRange range;
  findRange(row, touches, range);
  if (range.isNarrow()) {
    const double* tap = coefficients + (range.lowest - 1 + rowsAbove) * splineBlock;
    Taps at;
    load(at.q0, tap);
    load(at.q1, tap + splineBlock);
    load(at.q2, tap + 2 * splineBlock);
    for (int r = range.lowest; r <= range.highest; ++r, tap += splineBlock) {
      load(at.q3, tap + 3 * splineBlock);
      const Longs here = __builtin_convertvector(row == r, Longs);
      q.q0 = here ? at.q0 : q.q0;
      q.q1 = here ? at.q1 : q.q1;
      q.q2 = here ? at.q2 : q.q2;
      q.q3 = here ? at.q3 : q.q3;
      at.q0 = at.q1;
      at.q1 = at.q2;
      at.q2 = at.q3;
    }
  } else {
    for (int l = 0; l < halfCount; ++l) {
      if (touches[l] == 0) continue;
      const double* tap = coefficients + (row[l] - 1 + rowsAbove) * splineBlock + l;
      q.q0[l] = tap[0];
      q.q1[l] = tap[splineBlock];
      q.q2[l] = tap[2 * splineBlock];
      q.q3[l] = tap[3 * splineBlock];
    }
  }
  result = q;
}

// The spline at one position per lane; 0 at and beyond -2 and ny + 1, and at NaN.
MIREL_INLINE void evaluateSpline(const double* coefficients, int ny, const HalfFloats& position,
                                 HalfFloats& value) {
  const HalfInts touches = (position > -2.0f) & (position < static_cast<float>(ny) + 1.0f);
  const HalfFloats safe = touches ? position : HalfFloats{};
  const HalfInts truncated = __builtin_convertvector(safe, HalfInts);
  // A comparison that holds is -1: truncation turns into rounding down.
  const HalfInts row = truncated + (__builtin_convertvector(truncated, HalfFloats) > safe);
  const Doubles t = __builtin_convertvector(safe, Doubles) - __builtin_convertvector(row, Doubles);
  const Doubles w3 = t * sixth * t * t;
  const Doubles w0 = (t - 1.0) * (t * 0.5) + sixth - w3;
  const Doubles w2 = w3 * (-2.0) + t + w0;
  const Doubles w1 = 1.0 - w3 - w2 - w0;
  Taps q;
  pickTaps(coefficients, row, touches, q);
  const Doubles sum = w0 * q.q0 + (w1 * q.q1 + (w2 * q.q2 + w3 * q.q3));
  value = touches ? __builtin_convertvector(sum, HalfFloats) : HalfFloats{};
}

void resampleSliceSpline(const ResamplingSlice& in, const SplineScratch& scratch) {
  for (int x = 0; x < in.nx; x += splineBlock) {
    const int count = in.nx - x < splineBlock ? in.nx - x : splineBlock;
    computeCoefficients(in, scratch, x, count);
    for (int v = 0; v < 2 && columnsOf(count, v) > 0; ++v) {
      const int columns = columnsOf(count, v), start = x + v * halfCount;
      for (int y = 0; y < in.ny; ++y) {
        HalfFloats shift, value;
        loadSome(shift, in.vdm + y * in.nx + start, columns);
        evaluateSpline(scratch.coefficients + v * halfCount, in.ny,
                       (in.reverse ? -shift : shift) + static_cast<float>(y), value);
        storeSome(in.dst + y * in.nx + start, value, columns);
      }
    }
  }
}
