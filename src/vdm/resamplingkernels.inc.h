// Resampling along y, one column per lane. Linear interpolation exploits that, at whole x and z,
// the neighbours along x and z weigh 0: their products are 0 and change no bit of a sum but the
// sign of a zero, which the caller is told of. Rows are picked around the middle lane's
// (simd/rows.inc.h): which way an element is loaded does not change it.

// Row r of a block of `count` columns; 0 off the grid.
MIREL_INLINE void gridRow(const float* block, int nx, int ny, int count, int r, Floats& value) {
  value = Floats{};
  if (r >= 0 && r < ny) loadSome(value, block + r * nx, count);
}

// The elements of the rows `row0` and `row0` + 1 of a block of columns, where `touches` holds; 0
// off the grid.
inline void pickDistantRows(const float* block, int nx, int ny, int count, const Ints& row0,
                            const Ints& touches, Floats& value0, Floats& value1) {
  value0 = value1 = Floats{};
  for (int l = 0; l < count; ++l) {
    if (touches[l] == 0) continue;
    const int r = row0[l];
    if (r >= 0) value0[l] = block[r * nx + l];
    if (r + 1 < ny) value1[l] = block[(r + 1) * nx + l];
  }
}

// Linear interpolation down a block of columns; 0 off the grid.
MIREL_INLINE void sampleColumns(const float* block, int nx, int ny, int count,
                                const Floats& position, Floats& value) {
  const Ints touches = (position >= -1.0f) & (position < static_cast<float>(ny));
  const float middle = position[laneCount / 2];
  const float base = middle >= -1.0f && middle < static_cast<float>(ny) ? middle : 0.0f;
  const Floats safe = touches ? position : Floats{} + base;
  const Ints row0 = __builtin_convertvector(safe + 2.0f, Ints) - 2;
  const Floats weight1 = safe - __builtin_convertvector(row0, Floats);
  const Floats weight0 = 1.0f - weight1;
  Floats value0, value1;
  NearRows near;
  if (findNearRows(row0, static_cast<int>(base + 2.0f) - 2, near)) {
    Floats at[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) gridRow(block, nx, ny, count, near.base - 1 + k, at[k]);
    pickNear(near, at[0], at[1], at[2], value0);
    pickNear(near, at[1], at[2], at[3], value1);
  } else {
    pickDistantRows(block, nx, ny, count, row0, touches, value0, value1);
  }
  value = touches ? value0 * weight0 + value1 * weight1 : Floats{};
}

// Lanes that hold -0, whose bits are those of the smallest int.
MIREL_INLINE bool hasNegativeZero(const Floats& value) {
  const Ints negativeZeros = (Ints)value == -0x7fffffff - 1;
  return any(negativeZeros);
}

// A block of columns from x on; a narrow slice has fewer of them than a register has lanes.
template <bool isNarrow>
bool resampleBlockLinear(const ResamplingSlice& slice, int x) {
  const ResamplingSlice in = slice;  // a copy, which no store can change
  const int count = isNarrow ? in.nx : laneCount;
  const float sign = in.reverse ? -1.0f : 1.0f;
  bool negativeZero = false;
  for (int y = 0; y < in.ny; ++y) {
    Floats shift, value;
    loadSome(shift, in.vdm + y * in.nx + x, count);
    sampleColumns(in.src + x, in.nx, in.ny, count, shift * sign + static_cast<float>(y), value);
    storeSome(in.dst + y * in.nx + x, value, count);
    negativeZero |= hasNegativeZero(value);
  }
  return negativeZero;
}

// The last block overlaps the one before it where the columns do not fill it.
bool resampleSliceLinear(const ResamplingSlice& in) {
  if (in.nx < laneCount) return resampleBlockLinear<true>(in, 0);
  bool negativeZero = false;
  for (int x = 0; x < in.nx; x += laneCount)
    negativeZero |= resampleBlockLinear<false>(in, x < in.nx - laneCount ? x : in.nx - laneCount);
  return negativeZero;
}

// The spline, computed in double. What is exploited, none of which changes an operation:
// - The rows of a column's coefficients wait for one another, so that several registers of columns
//   go side by side.
// - Where a slice's columns do not fill their last register, that register starts earlier and
//   computes some columns a second time: the same values, with no lanes left over.
// - Neighbouring columns mostly read rows within one of the middle column's. These rows are loaded
//   whole, and every lane picks its own by comparison; no branch depends on how many there are.
constexpr int mostRegisters = 4;
constexpr int rowLength = mostRegisters * halfCount;  // of coefficients
static_assert(rowLength <= splineColumns);

// The coefficients of the columns of `registers` registers, `count` in each, of which each starts
// at a column of its own.
template <int registers>
MIREL_INLINE void computeCoefficients(const ResamplingSlice& in, const SplineFactors& factors,
                                      const int* starts, int count, double* coefficients) {
  const float* src = in.src;
  double* q = coefficients;
  Doubles previous[registers] = {};
  for (int y = 0; y < in.ny; ++y, src += in.nx, q += rowLength)
#pragma GCC unroll 4
    for (int v = 0; v < registers; ++v) {
      HalfFloats samples;
      Doubles f;
      loadSome(samples, src + starts[v], count);
      widen(f, samples);
      previous[v] = y == 0 ? f * factors.d[0] : (previous[v] * (-sixth) + f) * factors.d[y];
      store(q + v * halfCount, previous[v]);
    }
  q -= rowLength;
  for (int y = in.ny - 2; y >= 0; --y) {
    q -= rowLength;
#pragma GCC unroll 4
    for (int v = 0; v < registers; ++v) {
      Doubles row;
      load(row, q + v * halfCount);
      previous[v] = row - factors.e[y] * previous[v];
      store(q + v * halfCount, previous[v]);
    }
  }
}

// The coefficients of the rows `row` - 1 .. `row` + 2.
struct Taps {
  Doubles q0, q1, q2, q3;
};

// Every lane by itself.
inline void pickTapsLaneByLane(const double* coefficients, const Doubles& row, Taps& q) {
  for (int l = 0; l < halfCount; ++l) {
    const double* tap = coefficients + (static_cast<int>(row[l]) - 1) * rowLength + l;
    q.q0[l] = tap[0];
    q.q1[l] = tap[rowLength];
    q.q2[l] = tap[2 * rowLength];
    q.q3[l] = tap[3 * rowLength];
  }
}

// Lanes whose rows differ from `base` by `offset`, -1, 0 or 1.
MIREL_INLINE void pickTapsNear(const double* coefficients, int base, const Doubles& offset,
                               Taps& q) {
  const double* tap = coefficients + (base - 2) * rowLength;
  Doubles at[6];
#pragma GCC unroll 6
  for (int k = 0; k < 6; ++k) load(at[k], tap + k * rowLength);
  const Longs before = offset < 0.0;
  const Longs after = offset > 0.0;
  q.q0 = before ? at[0] : after ? at[2] : at[1];
  q.q1 = before ? at[1] : after ? at[3] : at[2];
  q.q2 = before ? at[2] : after ? at[4] : at[3];
  q.q3 = before ? at[3] : after ? at[5] : at[4];
}

// The spline at one position per lane; 0 at and beyond -2 and ny + 1, and at NaN.
MIREL_INLINE void evaluateSpline(const double* coefficients, float end, const HalfFloats& position,
                                 HalfFloats& value) {
  const HalfInts touches = (position > -2.0f) & (position < end);
  const HalfFloats safe = touches ? position : HalfFloats{};
  Doubles exact, row;
  widen(exact, safe);
  roundDown(row, exact);
  const Doubles t = exact - row;
  const Doubles w3 = t * sixth * t * t;
  const Doubles w0 = (t - 1.0) * (t * 0.5) + sixth - w3;
  const Doubles w2 = w3 * (-2.0) + t + w0;
  const Doubles w1 = 1.0 - w3 - w2 - w0;
  const double base = row[halfCount / 2];
  const Doubles offset = row - base;
  Taps q;
  if (anyAbove(offset * offset, Doubles{} + 1.0))
    pickTapsLaneByLane(coefficients, row, q);
  else
    pickTapsNear(coefficients, static_cast<int>(base), offset, q);
  const Doubles sum = w0 * q.q0 + (w1 * q.q1 + (w2 * q.q2 + w3 * q.q3));
  value = touches ? __builtin_convertvector(sum, HalfFloats) : HalfFloats{};
}

// The columns of `registers` registers; a narrow slice has fewer of them than one has lanes.
template <int registers, bool isNarrow = false>
void resampleColumns(const ResamplingSlice& slice, const SplineMemory& memory,
                     const int* startsOfRegisters) {
  // Copies, which no store can change as far as the compiler knows.
  const ResamplingSlice in = slice;
  const SplineFactors factors = memory.factors;
  const int count = isNarrow ? in.nx : halfCount;
  int starts[registers];
  for (int v = 0; v < registers; ++v) starts[v] = startsOfRegisters[v];
  double* const coefficients = memory.coefficients + rowsAbove * rowLength;
  computeCoefficients<registers>(in, factors, starts, count, coefficients);
  const float end = static_cast<float>(in.ny) + 1.0f;
  const float* vdm = in.vdm;
  float* dst = in.dst;
  for (int y = 0; y < in.ny; ++y, vdm += in.nx, dst += in.nx)
    for (int v = 0; v < registers; ++v) {
      HalfFloats shift, value;
      loadSome(shift, vdm + starts[v], count);
      evaluateSpline(coefficients + v * halfCount, end,
                     (in.reverse ? -shift : shift) + static_cast<float>(y), value);
      storeSome(dst + starts[v], value, count);
    }
}

void resampleSliceSpline(const ResamplingSlice& in, const SplineMemory& memory) {
  const int firstColumn = 0;
  if (in.nx < halfCount) return resampleColumns<1, true>(in, memory, &firstColumn);
  const int registers = (in.nx + halfCount - 1) / halfCount;
  int rounds = (registers + mostRegisters - 1) / mostRegisters;  // as equal as they can be
  for (int first = 0, now; first < registers; first += now, --rounds) {
    now = (registers - first + rounds - 1) / rounds;
    int starts[mostRegisters];
    for (int v = 0; v < now; ++v) {
      const int start = (first + v) * halfCount, last = in.nx - halfCount;
      starts[v] = start < last ? start : last;
    }
    if (now == 4) resampleColumns<4>(in, memory, starts);
    if (now == 3) resampleColumns<3>(in, memory, starts);
    if (now == 2) resampleColumns<2>(in, memory, starts);
    if (now == 1) resampleColumns<1>(in, memory, starts);
  }
}
