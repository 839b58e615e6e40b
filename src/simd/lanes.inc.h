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
