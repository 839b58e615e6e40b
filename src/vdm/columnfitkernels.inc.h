// The column fits, one column per lane. Every lane runs the fit of its own column: the same
// operations in the same order as for one column alone. A lane that has stopped keeps its
// parameters while the others go on.

// One double or one comparison of doubles per lane: two registers.
typedef double WideDoubles __attribute__((vector_size(laneCount * sizeof(double))));
typedef long long WideLongs __attribute__((vector_size(laneCount * sizeof(long long))));

struct Fit {
  Floats a, b;     // parameters
  Floats step[2];  // the last step
  Ints stepped;    // whether a step was made
  Ints active;     // whether the fit goes on
  WideDoubles best, cost;
};

// Sums over a column that one evaluation yields.
struct Evaluation {
  WideDoubles squares;
  Ints count;
  Floats m00, m01, m11;  // transpose(J) * J
};

// An image and its derivative at the two rows around a position.
struct Samples {
  Floats image0, image1, derivative0, derivative1;
};

// The rows `row0` and `row0` + 1 of a block of columns, for lanes that read up to some rows apart.
__attribute__((noinline)) void pickDistantRows(const float* image, const float* derivative,
                                               const Ints& row0, Samples& result) {
  Samples s = {};
  RowRange range;
  findRange(row0, ~Ints{}, range);
  if (range.isNarrow()) {
    Floats image0, image1, derivative0, derivative1;
    load(image0, image + range.lowest * laneCount);
    load(derivative0, derivative + range.lowest * laneCount);
    for (int r = range.lowest; r <= range.highest; ++r) {
      load(image1, image + (r + 1) * laneCount);
      load(derivative1, derivative + (r + 1) * laneCount);
      const Ints here = row0 == r;
      s.image0 = here ? image0 : s.image0;
      s.image1 = here ? image1 : s.image1;
      s.derivative0 = here ? derivative0 : s.derivative0;
      s.derivative1 = here ? derivative1 : s.derivative1;
      image0 = image1;
      derivative0 = derivative1;
    }
  } else {
    for (int l = 0; l < laneCount; ++l) {
      const int at = row0[l] * laneCount + l;
      s.image0[l] = image[at];
      s.image1[l] = image[at + laneCount];
      s.derivative0[l] = derivative[at];
      s.derivative1[l] = derivative[at + laneCount];
    }
  }
  result = s;
}

// The elements of the rows `row0` and `row0` + 1 around which `near` lies.
MIREL_INLINE void pickNearRows(const float* column, const NearRows& near, Floats& value0,
                               Floats& value1) {
  const float* row = column + (near.base - 1) * laneCount;
  Floats at[4];
#pragma GCC unroll 4
  for (int k = 0; k < 4; ++k) load(at[k], row + k * laneCount);
  pickNear(near, at[0], at[1], at[2], value0);
  pickNear(near, at[1], at[2], at[3], value1);
}

// The row that the middle lane reads, row by row of the model q * scale + shift: a guess, in whole
// numbers so that it takes nothing from the vector units.
class MiddleRow {
 public:
  MiddleRow(float scale, float shift, int rows)
      : position(fixed(static_cast<double>(shift) + (1.0 - scale) * rows * 0.5)),
        step(fixed(scale)),
        ny(rows) {}

  int next() {
    const long long row = static_cast<long long>(position) >> fractionBits;
    position += step;
    return row < -1 ? -1 : row < ny ? static_cast<int>(row) : ny;
  }

 private:
  static constexpr int fractionBits = 32;
  static unsigned long long fixed(double v) {
    const bool isOrdinary = v > -1e6 && v < 1e6;
    return isOrdinary ? static_cast<unsigned long long>(static_cast<long long>(v * 0x1p32)) : 0;
  }

  unsigned long long position, step;
  int ny;
};

// Values of an image and of its derivative at a position in rows, which is about `base` for most
// lanes; outside, 0.
MIREL_INLINE void sample(const float* image, const float* derivative, int ny,
                         const Floats& position, int base, Floats& value, Floats& slope) {
  const Floats first = Floats{} - 1.0f, end = Floats{} + static_cast<float>(ny);
  const Ints touches = (position >= first) & (position < end);
  // Lanes outside, and at NaN, read the zeros next to the column.
  const Floats notBefore = position > first ? position : first;
  const Floats safe = notBefore < end ? notBefore : end;
  const Ints row0 = __builtin_convertvector(safe + 2.0f, Ints) - 2;
  const Floats weight1 = safe - __builtin_convertvector(row0, Floats);
  // The same as (row0 + 1) - safe: weight1 is exact, but before row 0, where this weighs zeros.
  const Floats weight0 = 1.0f - weight1;
  Samples s;
  NearRows near;
  if (findNearRows(row0, base, near)) {
    pickNearRows(image, near, s.image0, s.image1);
    pickNearRows(derivative, near, s.derivative0, s.derivative1);
  } else {
    Samples distant;  // in memory, which `s` need not touch
    pickDistantRows(image, derivative, row0, distant);
    s = distant;
  }
  value = touches ? weight1 * s.image1 + weight0 * s.image0 : Floats{};
  slope = touches ? weight1 * s.derivative1 + weight0 * s.derivative0 : Floats{};
}

MIREL_INLINE void widenHalves(const Floats& v, Doubles& low, Doubles& high) {
  HalfFloats halves[2];
  __builtin_memcpy(halves, &v, sizeof v);
  widen(low, halves[0]);
  widen(high, halves[1]);
}

inline const float* row0Of(const float* rows) { return rows + rowsAbove * laneCount; }

// Reads both columns through the model and collects the cost and the normal equations; leaves
// the difference and the Jacobian of every row in the scratch memory.
inline void evaluate(const ColumnScratch& scratch, int ny, const Fit& fit, Evaluation& result) {
  const Floats a = fit.a, b = fit.b, inverse = 1.0f / a;
  const Floats factor0 = -1.0f / (a * a), factor1 = -1.0f / a;
  const float half = static_cast<float>(ny * 0.5);
  constexpr int middle = laneCount / 2;
  MiddleRow apRow(a[middle], b[middle], ny), paRow(inverse[middle], -b[middle], ny);
  // Copies, which no store can change as far as the compiler knows.
  const float* const columns[4] = {row0Of(scratch.columns[0]), row0Of(scratch.columns[1]),
                                   row0Of(scratch.columns[2]), row0Of(scratch.columns[3])};
  float* const differences = scratch.difference;
  float* const jacobian[2] = {scratch.jacobian[0], scratch.jacobian[1]};
  const float* const coordinate = scratch.coordinate;
  Evaluation sums = {};
  Doubles squares[2] = {};
  Ints zeros = {};
  for (int i = 0; i < ny; ++i) {
    const float q = coordinate[i];
    Floats ap, pa, gA, gP;
    sample(columns[0], columns[2], ny, (q * a + b) + half, apRow.next(), ap, gA);
    sample(columns[1], columns[3], ny, (q * inverse + -b) + half, paRow.next(), pa, gP);
    const Floats rA = ap * a, rP = pa * inverse;
    const Floats difference = rA - rP;
    const Ints isZero = (rA == 0.0f) | (rP == 0.0f);
    Doubles low, high;
    widenHalves(isZero ? Floats{} : difference, low, high);
    squares[0] += low * low;
    squares[1] += high * high;
    zeros -= isZero;
    const Floats j0 = (factor0 * (factor1 * gP) + gA * a) * q;
    const Floats j1 = a * gA - factor1 * gP;
    store(differences + i * laneCount, difference);
    store(jacobian[0] + i * laneCount, j0);
    store(jacobian[1] + i * laneCount, j1);
    sums.m00 = i == 0 ? j0 * j0 : sums.m00 + j0 * j0;
    sums.m01 = i == 0 ? j0 * j1 : sums.m01 + j0 * j1;
    sums.m11 = i == 0 ? j1 * j1 : sums.m11 + j1 * j1;
  }
  __builtin_memcpy(&sums.squares, squares, sizeof squares);
  sums.count = ny - zeros;
  result = sums;
}

// ((-inverse(transpose(J) J)) transpose(J)) difference.
inline void gaussNewtonStep(const ColumnScratch& scratch, int ny, const Evaluation& sums,
                            Floats* step) {
  const Floats determinant = sums.m00 * sums.m11 - sums.m01 * sums.m01;
  const Floats reciprocal = 1.0f / determinant;
  const Floats n00 = -(reciprocal * sums.m11), n01 = -(reciprocal * -sums.m01);
  const Floats n11 = -(reciprocal * sums.m00);
  Floats step0 = {}, step1 = {};
  for (int i = 0; i < ny; ++i) {
    Floats j0, j1, difference;
    load(j0, scratch.jacobian[0] + i * laneCount);
    load(j1, scratch.jacobian[1] + i * laneCount);
    load(difference, scratch.difference + i * laneCount);
    const Floats product0 = (n00 * j0 + n01 * j1) * difference;
    const Floats product1 = (n01 * j0 + n11 * j1) * difference;
    step0 = i == 0 ? product0 : step0 + product0;
    step1 = i == 0 ? product1 : step1 + product1;
  }
  step[0] = step0;
  step[1] = step1;
}

// One evaluation of all lanes that are still active, and a step where the cost improved.
inline void iterate(const ColumnScratch& scratch, int ny, Fit& fit) {
  Evaluation sums;
  evaluate(scratch, ny, fit, sums);
  const WideDoubles count = __builtin_convertvector(sums.count, WideDoubles);
  const WideDoubles cost = sums.squares / (count == 0.0 ? WideDoubles{} + 1.0 : count);
  const WideLongs activeWide = __builtin_convertvector(fit.active, WideLongs);
  // NaN counts as an improvement.
  const WideLongs improves =
      activeWide & ~((cost - fit.best) * 100.0 / fit.best > requiredImprovement);
  fit.cost = activeWide ? cost : fit.cost;
  fit.best = improves ? cost : fit.best;
  fit.active = __builtin_convertvector(improves, Ints);
  if (!any(fit.active)) return;
  Floats step[2];
  gaussNewtonStep(scratch, ny, sums, step);
  fit.step[0] = fit.active ? step[0] : fit.step[0];
  fit.step[1] = fit.active ? step[1] : fit.step[1];
  fit.a = fit.active ? fit.a + step[0] : fit.a;
  fit.b = fit.active ? fit.b + step[1] : fit.b;
  fit.stepped |= fit.active;
}

inline void fitBlock(const ColumnScratch& scratch, int ny, Fit& fit) {
  for (int k = 0; k < maximumSteps && any(fit.active); ++k) iterate(scratch, ny, fit);
  const Ints worse = __builtin_convertvector(fit.cost > fit.best, Ints) & fit.stepped;
  fit.a = worse ? fit.a - fit.step[0] : fit.a;
  fit.b = worse ? fit.b - fit.step[1] : fit.b;
}

// Copies `count` neighbouring columns to rows of laneCount elements, between rows of zeros.
inline void gatherColumns(const float* slice, int nx, int ny, int count, float* rows) {
  for (int y = -rowsAbove; y < ny + rowsBelow; ++y) {
    Floats row = {};
    if (y >= 0 && y < ny) loadSome(row, slice + y * nx, count);
    store(rows + (y + rowsAbove) * laneCount, row);
  }
}

inline void writeBlock(const ColumnFitSlice& slice, const ColumnScratch& scratch, int x, int count,
                       const Fit& fit) {
  bool allFitted = true;
  for (int l = 0; l < count; ++l) {
    allFitted &= slice.fitted[x + l] != 0;
    if (slice.fitted[x + l] == 0) continue;
    slice.scale[x + l] = fit.a[l];
    slice.shift[x + l] = fit.b[l];
  }
  const Floats a = fit.a, b = fit.b, inverse = 1.0f / a;
  for (int y = 0; y < slice.ny; ++y) {
    const float q = scratch.coordinate[y];
    const Floats map = ((q * a + b) - (q * inverse + -b)) / 2.0f;
    float* const row = slice.vdm + y * slice.nx + x;
    if (allFitted) {
      storeSome(row, map, count);
      continue;
    }
    for (int l = 0; l < count; ++l)
      if (slice.fitted[x + l] != 0) row[l] = map[l];
  }
}

void fitColumns(const ColumnFitSlice& slice, const ColumnScratch& scratch) {
  for (int x = 0; x < slice.nx;) {
    if (slice.fitted[x] == 0) {  // a block begins with a column to be fitted
      ++x;
      continue;
    }
    const int count = slice.nx - x < laneCount ? slice.nx - x : laneCount;
    Fit fit = {};
    fit.a += 1.0f;
    fit.best += largestDouble;
    for (int l = 0; l < count; ++l) {
      if (slice.fitted[x + l] == 0) continue;
      fit.a[l] = slice.scale[x + l];
      fit.b[l] = slice.shift[x + l];
      fit.active[l] = -1;
    }
    gatherColumns(slice.ap + x, slice.nx, slice.ny, count, scratch.columns[0]);
    gatherColumns(slice.pa + x, slice.nx, slice.ny, count, scratch.columns[1]);
    gatherColumns(slice.apDerivative + x, slice.nx, slice.ny, count, scratch.columns[2]);
    gatherColumns(slice.paDerivative + x, slice.nx, slice.ny, count, scratch.columns[3]);
    fitBlock(scratch, slice.ny, fit);
    writeBlock(slice, scratch, x, count, fit);
    x += count;
  }
}
