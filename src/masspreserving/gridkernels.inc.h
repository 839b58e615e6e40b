// Plain loops along x, which the compiler turns into vectors of the instruction set: neighbours in
// a row do not depend on one another.

template <typename Real>
void laplacian(glm::ivec3 dims, const LaplacianWeights<Real>& weights, const Real* b, Real* out) {
  const int nx = dims.x, row = nx, slice = nx * dims.y;
  const Real wx = weights.x, wy = weights.y, wz = weights.z;
  for (int z = 0; z < dims.z; ++z)
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
