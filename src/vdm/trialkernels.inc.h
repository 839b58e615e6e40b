// Kernels of the trial search. What is exploited: centres that are neighbours along x add up
// their windows side by side, one centre per lane. Every lane adds the same values in the same
// order as a loop over that centre's window alone would; elements outside the image are 0, and
// adding 0 to a sum that started at 0 changes no bit of it.

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

void squareDifferences(const float* ap, const float* pa, int nx, double* squares) {
  for (int x = 0; x < nx; ++x) {
    const double difference = ap[x] - pa[x];
    squares[x] = difference * difference;
  }
}

// Centres are searched in blocks of a few neighbours, so that blocks without a visited centre are
// skipped; several amplitudes go side by side: while one sum waits for its addition, the others
// keep the adder busy.
template <int block>
inline bool anyVisited(const SearchRow& row, int x) {
  const int end = x + block < row.nx ? x + block : row.nx;
  for (; x < end; ++x)
    if (row.visited[x]) return true;
  return false;
}

// The first amplitude of least cost, lane by lane.
template <int block>
struct Choice {
  double least[block];
  int best[block];

  // Keeps the earlier amplitude unless the new cost is strictly smaller.
  void offer(int amplitude, const double* costs) {
    for (int l = 0; l < block; ++l)
      if (amplitude == 0 || costs[l] < least[l]) {
        least[l] = costs[l];
        best[l] = amplitude;
      }
  }

  void write(const SearchRow& row, int x) const {
    const int end = x + block < row.nx ? x + block : row.nx;
    for (int l = 0; x + l < end; ++l)
      if (row.visited[x + l]) row.best[x + l] = best[l];
  }
};

// Eight centres: one vector of doubles on the widest machines, four on the narrowest.
constexpr int ssdBlock = 8;
constexpr int ssdVectors = ssdBlock / halfCount;
constexpr int ssdAmplitudes = laneCount == 4 ? 2 : 4;
static_assert(ssdBlock <= trialBlock);

// The sums of `count` amplitudes, of which `rows` holds rowCount rows each.
template <int count>
inline void ssdSums(const double* const* rows, const SearchRow& row, int x, double* costs) {
  Doubles sums[count][ssdVectors] = {};
  for (int r = 0; r < row.rowCount; ++r) {
    const double* p[count];
#pragma GCC unroll 8
    for (int i = 0; i < count; ++i) p[i] = rows[i * row.rowCount + r] + x;
    for (int dx = 0; dx < row.taps; ++dx)
#pragma GCC unroll 8
      for (int i = 0; i < count; ++i)
#pragma GCC unroll 8
        for (int v = 0; v < ssdVectors; ++v) {
          Doubles square;
          load(square, p[i] + dx + v * halfCount);
          sums[i][v] += square;
        }
  }
  __builtin_memcpy(costs, sums, sizeof sums);
}

// `count` amplitudes from `first` on, or as many as are left.
template <int count>
inline void offerSsd(const SearchRow& row, const SsdRows& rows, int x, int first,
                     Choice<ssdBlock>& choice) {
  if constexpr (count > 0) {
    if (row.amplitudeCount - first < count) return offerSsd<count - 1>(row, rows, x, first, choice);
    double costs[count * ssdBlock];
    ssdSums<count>(rows.squares + first * row.rowCount, row, x, costs);
    for (int i = 0; i < count; ++i) choice.offer(first + i, costs + i * ssdBlock);
  }
}

void searchRowSsd(const SearchRow& row, const SsdRows& rows) {
  for (int x = 0; x < row.nx; x += ssdBlock) {
    if (!anyVisited<ssdBlock>(row, x)) continue;
    Choice<ssdBlock> choice;
    for (int first = 0; first < row.amplitudeCount; first += ssdAmplitudes)
      offerSsd<ssdAmplitudes>(row, rows, x, first, choice);
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
      pa[i] = rows.ap[(first + i) * row.rowCount + r] + x;
      pb[i] = rows.pa[(first + i) * row.rowCount + r] + x;
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

inline void nccCosts(const CorrelationSums& s, const float* voxelCount, double* costs) {
  Floats n;
  load(n, voxelCount);
  float numerator[laneCount], varianceA[laneCount], varianceB[laneCount];
  store(numerator, s.ab * n - s.b * s.a);
  store(varianceA, s.aa * n - s.a * s.a);
  store(varianceB, s.bb * n - s.b * s.b);
  for (int l = 0; l < laneCount; ++l) {
    const double rootA = __builtin_sqrt(static_cast<double>(varianceA[l]));
    const double rootB = __builtin_sqrt(static_cast<double>(varianceB[l]));
    costs[l] = -(static_cast<double>(numerator[l]) / (rootB * rootA));
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
      double costs[laneCount];
      nccCosts(sums[i], rows.voxelCount + x, costs);
      choice.offer(first + i, costs);
    }
  }
}

void searchRowNcc(const SearchRow& row, const NccRows& rows) {
  for (int x = 0; x < row.nx; x += laneCount) {
    if (!anyVisited<laneCount>(row, x)) continue;
    Choice<laneCount> choice;
    for (int first = 0; first < row.amplitudeCount; first += nccAmplitudes)
      offerNcc<nccAmplitudes>(row, rows, x, first, choice);
    choice.write(row, x);
  }
}
