// What the compiler does not find by itself for vectors of this instruction set.

// Whether a comparison holds in any lane.
MIREL_INLINE bool any(const Ints& mask) { return _mm256_movemask_ps((__m256)mask) != 0; }

// Whether a is above b in any lane.
MIREL_INLINE bool anyAbove(const Doubles& a, const Doubles& b) {
  return _mm256_movemask_pd(_mm256_cmp_pd((__m256d)a, (__m256d)b, _CMP_GT_OQ)) != 0;
}

MIREL_INLINE void widen(Doubles& wide, const HalfFloats& v) {
  wide = (Doubles)_mm256_cvtps_pd((__m128)v);
}

// The largest whole numbers not above v, whose lanes fit an int.
MIREL_INLINE void roundDown(Doubles& whole, const Doubles& v) {
  whole = (Doubles)_mm256_floor_pd((__m256d)v);
}
