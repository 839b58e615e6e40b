// The plain forms of what other instruction sets have instructions for.

// Whether a comparison holds in any lane.
template <typename Mask>
MIREL_INLINE bool any(const Mask& mask) {
  long long pairs[2];
  static_assert(sizeof pairs == sizeof mask);
  __builtin_memcpy(pairs, &mask, sizeof pairs);
  return (pairs[0] | pairs[1]) != 0;
}

// Whether all lanes are -1, 0 or 1.
MIREL_INLINE bool areWithinOne(const Ints& v) {
  const Ints isFar = (v < -1) | (v > 1);
  return !any(isFar);
}

// Whether a is above b in any lane.
MIREL_INLINE bool anyAbove(const Doubles& a, const Doubles& b) {
  const Longs above = a > b;
  return any(above);
}

MIREL_INLINE void widen(Doubles& wide, const HalfFloats& v) {
  wide = __builtin_convertvector(v, Doubles);
}

// The largest whole numbers not above v, whose lanes fit an int.
MIREL_INLINE void roundDown(Doubles& whole, const Doubles& v) {
  const Doubles truncated = __builtin_convertvector(__builtin_convertvector(v, HalfInts), Doubles);
  whole = truncated - (truncated > v ? Doubles{} + 1.0 : Doubles{});
}

// The lower bits of every lane.
template <typename Low, typename Wide>
MIREL_INLINE void narrow(Low& low, const Wide& v) {
  low = __builtin_convertvector(v, Low);
}
