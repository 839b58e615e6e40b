// Kernels of the trial search. What is exploited: windows are added up side by side, one per lane,
// of all amplitudes at one centre (sum of squared differences) or of centres that are neighbours
// along x (correlation). Every lane adds the same values in the same order as a loop over that
// window alone would; elements outside the image are 0, and adding 0 to a sum that started at 0
// changes no bit of it.

// The elements of rows `row0` and `row1` of a block of columns, where `inside` holds.
inline void pickDistantRows(const float* block, int nx, int count, const Ints& row0,
                            const Ints& row1, const Ints& inside, Floats& value0, Floats& value1) {
  RowRange range0, range1;
  findRange(row0, inside, range0);
  findRange(row1, inside, range1);
  const RowRange range{range0.lowest, range1.highest};
  value0 = value1 = Floats{};
  if (!range.isNarrow()) {
    for (int l = 0; l < count; ++l) {
      if (inside[l] == 0) continue;
      value0[l] = block[row0[l] * nx + l];
      value1[l] = block[row1[l] * nx + l];
    }
    return;
  }
  for (int r = range.lowest; r <= range.highest; ++r) {
    Floats row;
    loadSome(row, block + r * nx, count);
    value0 = row0 == r ? row : value0;
    value1 = row1 == r ? row : value1;
  }
}

MIREL_INLINE int clampedTo(int row, int last) { return row < 0 ? 0 : row < last ? row : last; }

// Linear interpolation down a block of columns, of which the middle one is read at the position
// `middle`; not defined where the position is not inside.
MIREL_INLINE void sampleColumns(const float* block, const TrialRow& in, int count,
                                const Floats& position, const Ints& inside, float middle,
                                Floats& value) {
  const int last = in.ny - 1;
  const int base =
      middle > 0.0f && middle < static_cast<float>(last) ? static_cast<int>(middle) : 0;
  const Floats safe = inside ? position : Floats{} + static_cast<float>(base);
  const Ints row0 = __builtin_convertvector(safe, Ints);
  // Just below a whole number p + 1 rounds up to the next one, in tall images past the last row.
  const Ints rounded = __builtin_convertvector(safe + 1.0f, Ints);
  const Ints row1 = rounded < in.ny ? rounded : Ints{} + last;
  const Floats fraction = safe - __builtin_convertvector(row0, Floats);
  Floats value0, value1;
  NearRows near0, near1;
  if (findNearRows(row0, base, near0) & findNearRows(row1, base + 1, near1)) {
    Floats at[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k)
      loadSome(at[k], block + clampedTo(base - 1 + k, last) * in.nx, count);
    pickNear(near0, at[0], at[1], at[2], value0);
    pickNear(near1, at[1], at[2], at[3], value1);
  } else {
    pickDistantRows(block, in.nx, count, row0, row1, inside, value0, value1);
  }
  value = fraction * value1 + (1.0f - fraction) * value0;
}

// One block of columns from x on; a narrow row has fewer of them than a register has lanes.
template <bool isNarrow>
inline void resampleTrialBlock(const TrialRow& row, int x) {
  const TrialRow in = row;  // a copy, which no store can change as far as the compiler knows
  const int count = isNarrow ? in.nx : laneCount;
  Floats shift;
  loadSome(shift, in.vdm + x, count);
  const float middleShift = in.vdm[x + count / 2];
  const float y = static_cast<float>(in.y);
  const float lastRow = static_cast<float>(in.ny - 1);
  Ints allInside = ~Ints{};
  for (int i = 0; i < in.amplitudeCount; ++i) {
    const Floats moved = in.amplitudes[i] + shift;
    const float middle = in.amplitudes[i] + middleShift;
    const Floats apPosition = y + moved, paPosition = y + moved * -1.0f;
    const Ints apInside = (apPosition > 0.0f) & (apPosition < lastRow);
    const Ints paInside = (paPosition > 0.0f) & (paPosition < lastRow);
    allInside &= apInside & paInside;
    Floats value;
    sampleColumns(in.apSlice + x, in, count, apPosition, apInside, y + middle, value);
    storeSome(in.apTrials[i] + x, value, count);
    sampleColumns(in.paSlice + x, in, count, paPosition, paInside, y - middle, value);
    storeSome(in.paTrials[i] + x, value, count);
  }
  for (int l = 0; l < count; ++l) in.allInside[x + l] = allInside[l] != 0;
}

// The last block overlaps the one before it where the row's columns do not fill it: some columns
// are computed twice, with the same result.
void resampleTrialRow(const TrialRow& in) {
  if (in.nx < laneCount) return resampleTrialBlock<true>(in, 0);
  for (int x = 0; x < in.nx; x += laneCount)
    resampleTrialBlock<false>(in, x < in.nx - laneCount ? x : in.nx - laneCount);
}

// The squares of `halfCount` voxels from x on, for one vector of amplitudes, per voxel. Lanes
// beyond the last amplitude repeat it.
MIREL_INLINE void squareBlock(const TrialPairs& in, int x, int first,
                              Doubles (&squares)[halfCount]) {
  const int last = in.amplitudeCount - 1;
#pragma GCC unroll 8
  for (int i = 0; i < halfCount; ++i) {
    const int amplitude = first + i < last ? first + i : last;
    HalfFloats ap, pa;
    load(ap, in.ap[amplitude] + x);
    load(pa, in.pa[amplitude] + x);
    const Doubles difference = __builtin_convertvector(ap - pa, Doubles);
    squares[i] = difference * difference;
  }
  transpose(squares);
}

void squareDifferences(const TrialPairs& in, double* squares) {
  const int stride = paddedAmplitudes(in.amplitudeCount);
  for (int x = 0; x < in.nx; x += halfCount) {
    const int count = in.nx - x < halfCount ? in.nx - x : halfCount;
    for (int first = 0; first < in.amplitudeCount; first += halfCount) {
      Doubles block[halfCount];
      squareBlock(in, x, first, block);
      double* const p = squares + x * stride + first;
      if (count < halfCount) {
        for (int l = 0; l < count; ++l) store(p + l * stride, block[l]);
        continue;
      }
#pragma GCC unroll 8
      for (int l = 0; l < halfCount; ++l) store(p + l * stride, block[l]);
    }
  }
}

void markForeground(const float* ap, const float* pa, float threshold, int nx,
                    unsigned char* foreground) {
  typedef unsigned char Bytes __attribute__((vector_size(laneCount)));
  int x = 0;
  for (; x + laneCount <= nx; x += laneCount) {
    Floats a, b;
    load(a, ap + x);
    load(b, pa + x);
    const Ints isBright = (a > threshold) | (b > threshold);
    store(foreground + x, __builtin_convertvector(isBright & 1, Bytes));
  }
  for (; x < nx; ++x) foreground[x] = ap[x] > threshold || pa[x] > threshold;
}

// Centres are searched in blocks of a few neighbours. A block starts at a visited centre, so that
// few blocks hold many centres that are not.
inline int nextVisited(const SearchRow& row, int x) {
  while (x < row.nx && !row.visited[x]) ++x;
  return x;
}

// The first amplitude of least cost, lane by lane.
template <int block>
struct Choice {
  static constexpr int vectors = block / halfCount;
  Doubles least[vectors] = {};
  Longs best[vectors] = {};

  // Keeps the earlier amplitude unless the new cost is strictly smaller.
  MIREL_INLINE void offer(int amplitude, const Doubles* costs) {
    const Longs first = Longs{} - (amplitude == 0);
#pragma GCC unroll 8
    for (int v = 0; v < vectors; ++v) {
      const Longs smaller = costs[v] < least[v];
      const Longs take = smaller | first;
      least[v] = take ? costs[v] : least[v];
      best[v] = take ? Longs{} + amplitude : best[v];
    }
  }

  void write(const SearchRow& row, int x) const {
    const int end = x + block < row.nx ? x + block : row.nx;
    for (int l = 0; x + l < end; ++l)
      if (row.visited[x + l])
        row.best[x + l] = static_cast<int>(best[l / halfCount][l % halfCount]);
  }
};

// Squares are read by whole vectors of amplitudes: no lane is spent on a centre that is not
// visited, no vector crosses a cache line, and neighbouring centres share what is loaded. While
// one centre's sum waits for its addition, the other seven keep the adders busy.
constexpr int ssdVectors = ssdBlock / halfCount;

// Adds one row to the sums of a block of centres; `p` is the first element of the first window.
template <int taps>
MIREL_INLINE void addSquares(const double* p, int stride, Doubles (&sums)[ssdBlock]) {
#pragma GCC unroll 32
  for (int x = 0; x < ssdBlock + taps - 1; ++x) {
    Doubles square;
    load(square, p + x * stride);
#pragma GCC unroll 32
    for (int c = 0; c < ssdBlock; ++c)
      if (c <= x && x < c + taps) sums[c] += square;
  }
}

// The same for windows of any width.
MIREL_INLINE void addSquares(const double* p, int stride, int taps, Doubles (&sums)[ssdBlock]) {
  for (int dx = 0; dx < taps; ++dx)
#pragma GCC unroll 32
    for (int c = 0; c < ssdBlock; ++c) {
      Doubles square;
      load(square, p + (dx + c) * stride);
      sums[c] += square;
    }
}

// The sums of a block of centres for the vector of amplitudes `start` doubles into the rows.
template <int taps>
inline void ssdSums(const SearchRow& row, const double* const* squares, int start,
                    Doubles* result) {
  const int stride = paddedAmplitudes(row.amplitudeCount);
  Doubles sums[ssdBlock] = {};
  for (int r = 0; r < row.rowCount; ++r) {
    if constexpr (taps > 0)
      addSquares<taps>(squares[r] + start, stride, sums);
    else
      addSquares(squares[r] + start, stride, row.taps, sums);
  }
  __builtin_memcpy(result, sums, sizeof sums);
}

// The amplitudes from `first` on: their costs are turned so that centres are lanes.
inline void offerSsd(const SearchRow& row, const SsdRows& rows, int x, int first,
                     Choice<ssdBlock>& choice) {
  const int start = x * paddedAmplitudes(row.amplitudeCount) + first;
  Doubles sums[ssdVectors][halfCount];
  if (row.taps == 5)
    ssdSums<5>(row, rows.squares, start, sums[0]);
  else if (row.taps == 7)
    ssdSums<7>(row, rows.squares, start, sums[0]);
  else
    ssdSums<0>(row, rows.squares, start, sums[0]);
  Doubles costs[halfCount][ssdVectors];
#pragma GCC unroll 8
  for (int v = 0; v < ssdVectors; ++v) {
    transpose(sums[v]);
#pragma GCC unroll 8
    for (int i = 0; i < halfCount; ++i) costs[i][v] = sums[v][i];
  }
  for (int i = 0; i < halfCount && first + i < row.amplitudeCount; ++i)
    choice.offer(first + i, costs[i]);
}

void searchRowSsd(const SearchRow& row, const SsdRows& rows) {
  for (int x = nextVisited(row, 0); x < row.nx; x = nextVisited(row, x + ssdBlock)) {
    Choice<ssdBlock> choice;
    for (int first = 0; first < row.amplitudeCount; first += halfCount)
      offerSsd(row, rows, x, first, choice);
    choice.write(row, x);
  }
}

// One vector of centres: five sums each keep the adders busy with two amplitudes.
constexpr int nccAmplitudes = laneCount == 16 ? 2 : 1;
static_assert(laneCount <= trialBlock);

// The five sums of every lane's window.
struct CorrelationSums {
  Floats a, aa, b, bb, ab;
};

template <int count>
inline void nccSums(const NccRows& rows, const SearchRow& row, int first, int x,
                    CorrelationSums* result) {
  CorrelationSums s[count] = {};
  for (int r = 0; r < row.rowCount; ++r) {
    const float *pa[count], *pb[count];
#pragma GCC unroll 8
    for (int i = 0; i < count; ++i) {
      const std::size_t start = static_cast<std::size_t>(first + i) * rows.stride;
      pa[i] = rows.ap[r] + start + x;
      pb[i] = rows.pa[r] + start + x;
    }
    for (int dx = 0; dx < row.taps; ++dx)
#pragma GCC unroll 8
      for (int i = 0; i < count; ++i) {
        Floats a, b;
        load(a, pa[i] + dx);
        load(b, pb[i] + dx);
        s[i].a += a;
        s[i].aa += a * a;
        s[i].b += b;
        s[i].bb += b * b;
        s[i].ab += a * b;
      }
  }
  for (int i = 0; i < count; ++i) result[i] = s[i];
}

inline void nccCosts(const CorrelationSums& s, const float* voxelCount, Doubles* costs) {
  Floats n;
  load(n, voxelCount);
  const Floats parts[] = {s.ab * n - s.b * s.a, s.aa * n - s.a * s.a, s.bb * n - s.b * s.b};
  HalfFloats halves[3][2];
  __builtin_memcpy(halves, parts, sizeof parts);
  for (int h = 0; h < 2; ++h) {
    const Doubles numerator = __builtin_convertvector(halves[0][h], Doubles);
    Doubles rootA = __builtin_convertvector(halves[1][h], Doubles);
    Doubles rootB = __builtin_convertvector(halves[2][h], Doubles);
    for (int l = 0; l < halfCount; ++l) rootA[l] = __builtin_sqrt(rootA[l]);
    for (int l = 0; l < halfCount; ++l) rootB[l] = __builtin_sqrt(rootB[l]);
    costs[h] = -(numerator / (rootB * rootA));
  }
}

template <int count>
inline void offerNcc(const SearchRow& row, const NccRows& rows, int x, int first,
                     Choice<laneCount>& choice) {
  if constexpr (count > 0) {
    if (row.amplitudeCount - first < count) return offerNcc<count - 1>(row, rows, x, first, choice);
    CorrelationSums sums[count];
    nccSums<count>(rows, row, first, x, sums);
    for (int i = 0; i < count; ++i) {
      Doubles costs[2];
      nccCosts(sums[i], rows.voxelCount + x, costs);
      choice.offer(first + i, costs);
    }
  }
}

void searchRowNcc(const SearchRow& row, const NccRows& rows) {
  for (int x = nextVisited(row, 0); x < row.nx; x = nextVisited(row, x + laneCount)) {
    Choice<laneCount> choice;
    for (int first = 0; first < row.amplitudeCount; first += nccAmplitudes)
      offerNcc<nccAmplitudes>(row, rows, x, first, choice);
    choice.write(row, x);
  }
}
