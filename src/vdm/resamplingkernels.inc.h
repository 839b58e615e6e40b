// Resampling along y, one column per lane.

typedef float Floats __attribute__((vector_size(laneCount * sizeof(float))));
typedef int Ints __attribute__((vector_size(laneCount * sizeof(int))));
typedef double Doubles __attribute__((vector_size(laneCount * sizeof(double))));

inline void load(Floats& v, const float* p) { __builtin_memcpy(&v, p, sizeof v); }
inline void load(Doubles& v, const double* p) { __builtin_memcpy(&v, p, sizeof v); }
inline void store(double* p, const Doubles& v) { __builtin_memcpy(p, &v, sizeof v); }

// `count` neighbouring elements; lanes beyond repeat the first.
inline void loadSome(Floats& v, const float* p, int count) {
  if (count == laneCount) return load(v, p);
  for (int l = 0; l < laneCount; ++l) v[l] = p[l < count ? l : 0];
}

inline void storeSome(float* p, const Floats& v, int count) {
  __builtin_memcpy(p, &v, static_cast<unsigned long>(count) * sizeof(float));
}

// Elements of the rows `row` of a block of columns starting at `slice`; 0 off the grid.
inline void pick(const float* slice, int nx, int ny, int count, const Ints& row, Floats& value) {
  for (int l = 0; l < laneCount; ++l) {
    const bool inside = l < count && row[l] >= 0 && row[l] < ny;
    value[l] = inside ? slice[row[l] * nx + l] : 0.0f;
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
      pick(in.src + x, in.nx, in.ny, count, row0, value0);
      pick(in.src + x, in.nx, in.ny, count, row0 + 1, value1);
      const Floats value = touches ? value0 * weight0 + value1 * weight1 : Floats{};
      storeSome(in.dst + y * in.nx + x, value, count);
    }
}

// The spline coefficients of a block of columns.
inline void computeCoefficients(const ResamplingSlice& in, const SplineScratch& scratch, int x,
                                int count) {
  double* q = scratch.coefficients + rowsAbove * laneCount;
  Doubles previous = {};
  for (int y = 0; y < in.ny; ++y) {
    Floats samples;
    loadSome(samples, in.src + y * in.nx + x, count);
    const Doubles f = __builtin_convertvector(samples, Doubles);
    previous = y == 0 ? f * scratch.d[0] : (previous * (-sixth) + f) * scratch.d[y];
    store(q + y * laneCount, previous);
  }
  for (int y = in.ny - 2; y >= 0; --y) {
    Doubles row;
    load(row, q + y * laneCount);
    previous = row - scratch.e[y] * previous;
    store(q + y * laneCount, previous);
  }
  for (int r = 0; r < rowsBelow * laneCount; ++r) q[in.ny * laneCount + r] = 0.0;
}

// The spline at one position per lane; 0 at and beyond -2 and ny + 1, and at NaN.
inline void evaluate(const double* coefficients, int ny, const Floats& position, Floats& value) {
  const Ints touches = (position > -2.0f) & (position < static_cast<float>(ny) + 1.0f);
  const Floats safe = touches ? position : Floats{};
  const Ints truncated = __builtin_convertvector(safe, Ints);
  // A comparison that holds is -1: truncation turns into rounding down.
  const Ints row = truncated + (__builtin_convertvector(truncated, Floats) > safe);
  const Doubles t = __builtin_convertvector(safe, Doubles) - __builtin_convertvector(row, Doubles);
  const Doubles w3 = t * sixth * t * t;
  const Doubles w0 = (t - 1.0) * (t * 0.5) + sixth - w3;
  const Doubles w2 = w3 * (-2.0) + t + w0;
  const Doubles w1 = 1.0 - w3 - w2 - w0;
  Doubles q0, q1, q2, q3;
  for (int l = 0; l < laneCount; ++l) {
    const double* tap = coefficients + (row[l] - 1 + rowsAbove) * laneCount + l;
    q0[l] = tap[0];
    q1[l] = tap[laneCount];
    q2[l] = tap[2 * laneCount];
    q3[l] = tap[3 * laneCount];
  }
  const Doubles sum = w0 * q0 + (w1 * q1 + (w2 * q2 + w3 * q3));
  value = touches ? __builtin_convertvector(sum, Floats) : Floats{};
}

void resampleSliceSpline(const ResamplingSlice& in, const SplineScratch& scratch) {
  for (int x = 0; x < in.nx; x += laneCount) {
    const int count = in.nx - x < laneCount ? in.nx - x : laneCount;
    computeCoefficients(in, scratch, x, count);
    for (int y = 0; y < in.ny; ++y) {
      Floats shift, value;
      loadSome(shift, in.vdm + y * in.nx + x, count);
      evaluate(scratch.coefficients, in.ny, (in.reverse ? -shift : shift) + static_cast<float>(y),
               value);
      storeSome(in.dst + y * in.nx + x, value, count);
    }
  }
}
