// Kernels of the trial search. What is exploited: centres that are neighbours along x add up
// their windows side by side, one centre per lane. Every lane adds the same values in the same
// order as a loop over that centre's window alone would; elements outside the image are 0, and
// adding 0 to a sum that started at 0 changes no bit of it.

constexpr int doubleLanes = laneCount / 2;
typedef float Floats __attribute__((vector_size(laneCount * sizeof(float))));
typedef int Ints __attribute__((vector_size(laneCount * sizeof(int))));
typedef double Doubles __attribute__((vector_size(doubleLanes * sizeof(double))));

inline void load(Floats& v, const float* p) { __builtin_memcpy(&v, p, sizeof v); }
inline void load(Doubles& v, const double* p) { __builtin_memcpy(&v, p, sizeof v); }
inline void store(float* p, const Floats& v) { __builtin_memcpy(p, &v, sizeof v); }

// Linear interpolation down the columns of a slice at row positions strictly inside it.
inline void sampleColumns(const float* slice, int nx, int ny, const Ints& columns,
                          const Floats& position, Floats& value) {
  const Ints row0 = __builtin_convertvector(position, Ints);
  // Just below a whole number p + 1 rounds up to the next one, in tall images past the last row.
  const Ints rounded = __builtin_convertvector(position + 1.0f, Ints);
  const Ints row1 = rounded < ny ? rounded : Ints{} + (ny - 1);
  const Floats fraction = position - __builtin_convertvector(row0, Floats);
  const Ints index0 = row0 * nx + columns, index1 = row1 * nx + columns;
  Floats value0, value1;
  for (int l = 0; l < laneCount; ++l) {
    value0[l] = slice[index0[l]];
    value1[l] = slice[index1[l]];
  }
  value = fraction * value1 + (1.0f - fraction) * value0;
}

// One block of a row; `x` is its first column. Positions outside are replaced by 0.
inline void resampleTrialBlock(const TrialRow& in, int x, const Floats& shift, const Ints& columns,
                               Ints& inside) {
  const float y = static_cast<float>(in.y);
  const float lastRow = static_cast<float>(in.ny - 1);
  for (int i = 0; i < in.amplitudeCount; ++i) {
    const Floats moved = in.amplitudes[i] + shift;
    const Floats apPosition = y + moved, paPosition = y + moved * -1.0f;
    const Ints apInside = (apPosition > 0.0f) & (apPosition < lastRow);
    const Ints paInside = (paPosition > 0.0f) & (paPosition < lastRow);
    inside &= apInside & paInside;
    Floats value;
    sampleColumns(in.apSlice, in.nx, in.ny, columns, apInside ? apPosition : Floats{}, value);
    store(in.apTrials[i] + x, value);
    sampleColumns(in.paSlice, in.nx, in.ny, columns, paInside ? paPosition : Floats{}, value);
    store(in.paTrials[i] + x, value);
  }
}

void resampleTrialRow(const TrialRow& in) {
  for (int x = 0; x < in.nx; x += laneCount) {
    const int count = in.nx - x < laneCount ? in.nx - x : laneCount;
    Floats shift = {};
    Ints columns = {};
    for (int l = 0; l < count; ++l) {
      shift[l] = in.vdm[x + l];
      columns[l] = x + l;
    }
    Ints inside = ~Ints{};
    resampleTrialBlock(in, x, shift, columns, inside);
    for (int l = 0; l < count; ++l) in.allInside[x + l] = inside[l] != 0;
  }
}

void squareDifferences(const float* ap, const float* pa, int nx, double* squares) {
  for (int x = 0; x < nx; ++x) {
    const double difference = ap[x] - pa[x];
    squares[x] = difference * difference;
  }
}

inline bool anyVisited(const SearchRow& row, int x, int block) {
  const int end = x + block < row.nx ? x + block : row.nx;
  for (; x < end; ++x)
    if (row.visited[x]) return true;
  return false;
}

inline void writeBest(const SearchRow& row, int x, int block, const int* best) {
  const int end = x + block < row.nx ? x + block : row.nx;
  for (int l = 0; x + l < end; ++l)
    if (row.visited[x + l]) row.best[x + l] = best[l];
}

// Eight vectors of sums keep the adders busy while each single sum waits for its own.
constexpr int ssdVectors = laneCount == 16 ? 4 : 8;
constexpr int ssdBlock = ssdVectors * doubleLanes;
static_assert(ssdBlock <= trialBlock);

inline void ssdCosts(const double* const* rows, int rowCount, int taps, int x, double* costs) {
  Doubles sums[ssdVectors] = {};
  for (int r = 0; r < rowCount; ++r) {
    const double* p = rows[r] + x;
    for (int dx = 0; dx < taps; ++dx)
      for (int v = 0; v < ssdVectors; ++v) {
        Doubles square;
        load(square, p + dx + v * doubleLanes);
        sums[v] += square;
      }
  }
  __builtin_memcpy(costs, sums, sizeof sums);
}

// Keeps, lane by lane, the earlier amplitude unless the new cost is strictly smaller.
inline void keepLeast(int amplitude, int lanes, const double* costs, double* least, int* best) {
  for (int l = 0; l < lanes; ++l)
    if (amplitude == 0 || costs[l] < least[l]) {
      least[l] = costs[l];
      best[l] = amplitude;
    }
}

void searchRowSsd(const SearchRow& row, const SsdRows& rows) {
  for (int x = 0; x < row.nx; x += ssdBlock) {
    if (!anyVisited(row, x, ssdBlock)) continue;
    double costs[ssdBlock], least[ssdBlock];
    int best[ssdBlock];
    for (int i = 0; i < row.amplitudeCount; ++i) {
      ssdCosts(rows.squares + i * row.rowCount, row.rowCount, row.taps, x, costs);
      keepLeast(i, ssdBlock, costs, least, best);
    }
    writeBest(row, x, ssdBlock, best);
  }
}

constexpr int nccVectors = 2;
constexpr int nccBlock = nccVectors * laneCount;
static_assert(nccBlock <= trialBlock);

// The five sums of every lane's window.
struct CorrelationSums {
  Floats a[nccVectors], aa[nccVectors], b[nccVectors], bb[nccVectors], ab[nccVectors];
};

inline void nccSums(const float* const* apRows, const float* const* paRows, int rowCount, int taps,
                    int x, CorrelationSums& result) {
  CorrelationSums s = {};
  for (int r = 0; r < rowCount; ++r) {
    const float* pa = apRows[r] + x;
    const float* pb = paRows[r] + x;
    for (int dx = 0; dx < taps; ++dx)
      for (int v = 0; v < nccVectors; ++v) {
        Floats a, b;
        load(a, pa + dx + v * laneCount);
        load(b, pb + dx + v * laneCount);
        s.a[v] += a;
        s.aa[v] += a * a;
        s.b[v] += b;
        s.bb[v] += b * b;
        s.ab[v] += a * b;
      }
  }
  result = s;
}

inline void nccCosts(const CorrelationSums& s, const float* voxelCount, double* costs) {
  for (int v = 0; v < nccVectors; ++v) {
    Floats n;
    load(n, voxelCount + v * laneCount);
    const Floats numerator = s.ab[v] * n - s.b[v] * s.a[v];
    const Floats varianceA = s.aa[v] * n - s.a[v] * s.a[v];
    const Floats varianceB = s.bb[v] * n - s.b[v] * s.b[v];
    for (int l = 0; l < laneCount; ++l)
      costs[v * laneCount + l] = -(static_cast<double>(numerator[l]) /
                                   (__builtin_sqrt(static_cast<double>(varianceB[l])) *
                                    __builtin_sqrt(static_cast<double>(varianceA[l]))));
  }
}

void searchRowNcc(const SearchRow& row, const NccRows& rows) {
  for (int x = 0; x < row.nx; x += nccBlock) {
    if (!anyVisited(row, x, nccBlock)) continue;
    double costs[nccBlock], least[nccBlock];
    int best[nccBlock];
    for (int i = 0; i < row.amplitudeCount; ++i) {
      CorrelationSums sums;
      nccSums(rows.ap + i * row.rowCount, rows.pa + i * row.rowCount, row.rowCount, row.taps, x,
              sums);
      nccCosts(sums, rows.voxelCount + x, costs);
      keepLeast(i, nccBlock, costs, least, best);
    }
    writeBest(row, x, nccBlock, best);
  }
}
