// What every kernel source starts from: vectors of `laneCount` elements.

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
  v = Vector{};
  for (int l = 0; l < lanes; ++l) v[l] = p[l < count ? l : 0];
}

template <typename Vector, typename T>
MIREL_INLINE void storeSome(T* p, const Vector& v, int count) {
  if (count == static_cast<int>(sizeof(Vector) / sizeof(T))) return store(p, v);
  __builtin_memcpy(p, &v, static_cast<unsigned long>(count) * sizeof(T));
}

// Lane l of the result is lane `from[l]` of a followed by b.
MIREL_INLINE void shuffle(Doubles& result, const Doubles& a, const Doubles& b, const Longs& from) {
#if defined(__clang__)
  for (int l = 0; l < halfCount; ++l)
    result[l] = from[l] < halfCount ? a[from[l]] : b[from[l] - halfCount];
#else
  result = __builtin_shuffle(a, b, from);
#endif
}

// Lane i of vector j becomes lane j of vector i: blocks of 1, 2, 4 .. lanes swap places.
template <int block>
MIREL_INLINE void swapBlocks(Doubles (&rows)[halfCount]) {
  Longs low, high;
  for (int l = 0; l < halfCount; ++l) {
    const bool second = (l / block) % 2 == 1;
    low[l] = second ? halfCount + l - block : l;
    high[l] = second ? halfCount + l : l + block;
  }
#pragma GCC unroll 8
  for (int i = 0; i < halfCount; ++i)
    if ((i / block) % 2 == 0) {
      const Doubles a = rows[i], b = rows[i + block];
      shuffle(rows[i], a, b, low);
      shuffle(rows[i + block], a, b, high);
    }
}

MIREL_INLINE void transpose(Doubles (&rows)[halfCount]) {
  swapBlocks<1>(rows);
  if constexpr (halfCount > 2) swapBlocks<2>(rows);
  if constexpr (halfCount > 4) swapBlocks<4>(rows);
}

// As many small integers as ints fill a register.
typedef short ShortLanes __attribute__((vector_size(laneCount * sizeof(short))));
typedef signed char ByteLanes __attribute__((vector_size(laneCount)));
