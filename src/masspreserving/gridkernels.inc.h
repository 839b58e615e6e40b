// Plain loops along x, which the compiler turns into vectors of the instruction set: neighbours in
// a row do not depend on one another.

template <typename Real>
void laplacian(glm::ivec3 dims, const LaplacianWeights<Real>& weights, const Real* b, Real* out,
               int from, int to) {
  const int nx = dims.x, row = nx, slice = nx * dims.y;
  const Real wx = weights.x, wy = weights.y, wz = weights.z;
  for (int z = from; z < to; ++z)
    for (int y = 0; y < dims.y; ++y) {
      const Real* v = b + z * slice + y * row;
      Real* __restrict o = out + z * slice + y * row;
      // A neighbour off the grid is replaced by the voxel itself, which adds exactly 0.
      const Real* down = y > 0 ? v - row : v;
      const Real* up = y + 1 < dims.y ? v + row : v;
      const Real* before = z > 0 ? v - slice : v;
      const Real* behind = z + 1 < dims.z ? v + slice : v;
      const auto across = [&](int x) {
        return wy * ((v[x] - down[x]) + (v[x] - up[x])) +
               wz * ((v[x] - before[x]) + (v[x] - behind[x]));
      };
      for (int x = 1; x + 1 < nx; ++x)
        o[x] = across(x) + wx * ((v[x] - v[x - 1]) + (v[x] - v[x + 1]));
      o[0] = across(0);
      if (nx == 1) continue;
      o[0] += wx * (v[0] - v[1]);
      o[nx - 1] = across(nx - 1) + wx * (v[nx - 1] - v[nx - 2]);
    }
}

MIREL_INLINE void loadWide(Doubles& v, const double* p) { load(v, p); }

MIREL_INLINE void loadWide(Doubles& v, const float* p) {
  HalfFloats narrow;
  load(narrow, p);
  widen(v, narrow);
}

template <typename Real>
void dotsOfRows(const Real* a, const Real* b, int nx, int rows, double* totals) {
  constexpr int registers = 8 / halfCount;
  for (int row = 0; row < rows; ++row, a += nx, b += nx) {
    Doubles partial[registers] = {};
    int x = 0;
    for (; x + 8 <= nx; x += 8)
#pragma GCC unroll 4
      for (int k = 0; k < registers; ++k) {
        Doubles p, q;
        loadWide(p, a + x + k * halfCount);
        loadWide(q, b + x + k * halfCount);
        partial[k] += p * q;
      }
    double sums[8];
    __builtin_memcpy(sums, partial, sizeof sums);
    for (; x < nx; ++x) sums[0] += static_cast<double>(a[x]) * static_cast<double>(b[x]);
    totals[row] =
        ((sums[0] + sums[4]) + (sums[2] + sums[6])) + ((sums[1] + sums[5]) + (sums[3] + sums[7]));
  }
}

template <typename Real>
void sampleEdgeRow(const IntegralSlice<Real>& slice, int j, const Real* shift, Real sign,
                   Real* __restrict integral, Real* __restrict density) {
  const Real* c = slice.cumulative;
  const Real* e = slice.edgeDensity;
  const int nx = slice.nx, lastVoxel = slice.ny - 1;
  const Real top = static_cast<Real>(slice.ny);
  for (int x = 0; x < nx; ++x) {
    const Real wanted = static_cast<Real>(j) + sign * shift[x];
    const Real above = wanted < Real(0) ? Real(0) : wanted, p = top < above ? top : above;
    const int whole = static_cast<int>(p), k = lastVoxel < whole ? lastVoxel : whole;
    const Real t = p - static_cast<Real>(k);
    const int at = k * nx + x;
    const Real c0 = c[at], mean = c[at + nx] - c0, left = e[at], right = e[at + nx];
    // I = left + t (right - left + six (1 - t)) with the mean of the voxel; C its integral.
    const Real rise = right - left, six = Real(6) * mean - Real(3) * (left + right);
    integral[x] =
        c0 + t * (left + t * (Real(0.5) * rise + six * (Real(0.5) - t * (Real(1) / Real(3)))));
    const Real inside = left + t * (rise + six * (Real(1) - t));
    density[x] = wanted == p ? inside : Real(0);
  }
}

template <typename Real>
void solveColumns(int nx, int ny, const ColumnFactors<Real>& factors, const Real* v, Real* out) {
  for (int j = 0; j < ny; ++j) {
    const Real* p = v + j * nx;
    const Real* l1 = factors.lower1 + j * nx;
    const Real* l2 = factors.lower2 + j * nx;
    Real* __restrict o = out + j * nx;
    const Real* one = j > 0 ? o - nx : o;
    const Real* two = j > 1 ? one - nx : one;
    if (j == 0)
      for (int x = 0; x < nx; ++x) o[x] = p[x];
    else if (j == 1)
      for (int x = 0; x < nx; ++x) o[x] = p[x] - l1[x] * one[x];
    else
      for (int x = 0; x < nx; ++x) o[x] = p[x] - l1[x] * one[x] - l2[x] * two[x];
  }
  for (int j = ny - 1; j >= 0; --j) {
    const Real* inverse = factors.inversePivot + j * nx;
    const Real* l1 = factors.lower1 + (j + 1) * nx;
    const Real* l2 = factors.lower2 + (j + 2) * nx;
    Real* __restrict o = out + j * nx;
    const Real* one = o + nx;
    const Real* two = one + nx;
    if (j + 1 == ny)
      for (int x = 0; x < nx; ++x) o[x] *= inverse[x];
    else if (j + 2 == ny)
      for (int x = 0; x < nx; ++x) o[x] = o[x] * inverse[x] - l1[x] * one[x];
    else
      for (int x = 0; x < nx; ++x) o[x] = o[x] * inverse[x] - l1[x] * one[x] - l2[x] * two[x];
  }
}
