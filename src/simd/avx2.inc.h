// What the compiler does not find by itself for vectors of this instruction set.

// Whether a comparison holds in any lane.
MIREL_INLINE bool any(const Ints& mask) { return _mm256_movemask_ps((__m256)mask) != 0; }

// Whether all lanes are -1, 0 or 1.
MIREL_INLINE bool areWithinOne(const Ints& v) {
  const __m256i magnitude = _mm256_abs_epi32((__m256i)v);  // the smallest int stays negative
  const __m256i isFar = _mm256_cmpgt_epi32(magnitude, (__m256i)(Ints{} + 1));
  return _mm256_movemask_ps((__m256)_mm256_or_si256(isFar, magnitude)) == 0;
}

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

// The lower bits of every lane.
MIREL_INLINE void narrow(ShortLanes& low, const Ints& v) {
  const __m256i ofHalf = _mm256_set1_epi64x(0x0d0c090805040100);
  const __m256i halves = _mm256_shuffle_epi8((__m256i)v, ofHalf);
  low = (ShortLanes)_mm256_castsi256_si128(_mm256_permute4x64_epi64(halves, 0x08));
}
MIREL_INLINE void narrow(ByteLanes& low, const Ints& v) {
  const __m256i ofHalf = _mm256_set1_epi32(0x0c080400);
  const __m256i halves = _mm256_shuffle_epi8((__m256i)v, ofHalf);
  const __m256i both = _mm256_permutevar8x32_epi32(halves, _mm256_set1_epi64x(0x0000000400000000));
  const long long bytes = _mm_cvtsi128_si64(_mm256_castsi256_si128(both));
  __builtin_memcpy(&low, &bytes, sizeof low);
}
MIREL_INLINE void narrow(HalfInts& low, const Longs& v) {
  const __m256i even = _mm256_set_epi32(6, 4, 2, 0, 6, 4, 2, 0);
  low = (HalfInts)_mm256_castsi256_si128(_mm256_permutevar8x32_epi32((__m256i)v, even));
}
