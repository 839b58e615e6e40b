// What the compiler does not find by itself for vectors of this instruction set.

// Whether a comparison holds in any lane.
MIREL_INLINE bool any(const Ints& mask) { return _mm512_movepi32_mask((__m512i)mask) != 0; }

// Whether all lanes are -1, 0 or 1.
MIREL_INLINE bool areWithinOne(const Ints& v) {
  return _mm512_cmpgt_epu32_mask((__m512i)(v + 1), (__m512i)(Ints{} + 2)) == 0;
}

// Whether a is above b in any lane.
MIREL_INLINE bool anyAbove(const Doubles& a, const Doubles& b) {
  return _mm512_cmp_pd_mask((__m512d)a, (__m512d)b, _CMP_GT_OQ) != 0;
}

MIREL_INLINE void widen(Doubles& wide, const HalfFloats& v) {
  wide = (Doubles)_mm512_maskz_cvtps_pd(0xff, (__m256)v);
}

// The largest whole numbers not above v, whose lanes fit an int.
MIREL_INLINE void roundDown(Doubles& whole, const Doubles& v) {
  whole = (Doubles)_mm512_maskz_roundscale_pd(0xff, (__m512d)v, _MM_FROUND_TO_NEG_INF);
}

// The lower bits of every lane.
MIREL_INLINE void narrow(ShortLanes& low, const Ints& v) {
  low = (ShortLanes)_mm512_maskz_cvtepi32_epi16(0xffff, (__m512i)v);
}
MIREL_INLINE void narrow(ByteLanes& low, const Ints& v) {
  low = (ByteLanes)_mm512_maskz_cvtepi32_epi8(0xffff, (__m512i)v);
}
MIREL_INLINE void narrow(HalfInts& low, const Longs& v) {
  low = (HalfInts)_mm512_maskz_cvtepi64_epi32(0xff, (__m512i)v);
}
