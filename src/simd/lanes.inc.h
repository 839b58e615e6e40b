// What every kernel source starts from: vectors of `laneCount` elements and rows of the elements
// that lanes pick.

typedef float Floats __attribute__((vector_size(laneCount * sizeof(float))));
typedef int Ints __attribute__((vector_size(laneCount * sizeof(int))));

// Doubles fill a register with half as many. Vectors of more than one register are to be kept out
// of conditional expressions: the compiler turns these into jumps, element by element.
constexpr int halfCount = laneCount / 2;
typedef double Doubles __attribute__((vector_size(halfCount * sizeof(double))));
typedef long long Longs __attribute__((vector_size(halfCount * sizeof(long long))));
typedef float HalfFloats __attribute__((vector_size(halfCount * sizeof(float))));
typedef int HalfInts __attribute__((vector_size(halfCount * sizeof(int))));

template <typename Vector, typename T>
inline void load(Vector& v, const T* p) {
  __builtin_memcpy(&v, p, sizeof v);
}

template <typename Vector, typename T>
inline void store(T* p, const Vector& v) {
  __builtin_memcpy(p, &v, sizeof v);
}

// `count` neighbouring elements; lanes beyond repeat the first.
template <typename Vector, typename T>
MIREL_INLINE void loadSome(Vector& v, const T* p, int count) {
  constexpr int lanes = sizeof(Vector) / sizeof(T);
  if (count == lanes) return load(v, p);
  for (int l = 0; l < lanes; ++l) v[l] = p[l < count ? l : 0];
}

template <typename Vector, typename T>
MIREL_INLINE void storeSome(T* p, const Vector& v, int count) {
  if (count == static_cast<int>(sizeof(Vector) / sizeof(T))) return store(p, v);
  __builtin_memcpy(p, &v, static_cast<unsigned long>(count) * sizeof(T));
}

// Lanes that are neighbours along x read at positions that differ little along y, so that a few
// whole rows hold all that they read. Loading these and picking from them by comparison is two to
// three times as fast as loading every lane's elements one by one.
struct RowRange {
  int lowest, highest;  // lowest > highest: no lane

  bool isNarrow() const { return lowest <= highest && highest - lowest < 6; }
};

// The smallest of a vector of ints.
template <typename Vector>
MIREL_INLINE int smallest(const Vector& v) {
  constexpr int count = sizeof(Vector) / sizeof(int);
  if constexpr (count == 2) {
    return v[0] < v[1] ? v[0] : v[1];
  } else {
    typedef int Four __attribute__((vector_size(4 * sizeof(int))));
    Four parts[count / 4];
    __builtin_memcpy(parts, &v, sizeof v);
    Four least = parts[0];
#pragma GCC unroll 4
    for (int i = 1; i < count / 4; ++i) least = parts[i] < least ? parts[i] : least;
    const int a = least[0] < least[1] ? least[0] : least[1];
    const int b = least[2] < least[3] ? least[2] : least[3];
    return a < b ? a : b;
  }
}

// The range of the rows of those lanes for which `counts` holds.
template <typename Vector>
MIREL_INLINE void findRange(const Vector& row, const Vector& counts, RowRange& range) {
  constexpr int largest = 0x7fffffff;
  range.lowest = smallest<Vector>(counts ? row : Vector{} + largest);
  range.highest = -smallest<Vector>(counts ? -row : Vector{} + largest);
}
