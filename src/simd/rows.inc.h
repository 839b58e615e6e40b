// Picking the rows that lanes read, an element of each row per lane.

// Lanes that are neighbours along x read at positions that differ little along y, so that a few
// whole rows hold all that they read. Loading these and picking from them by comparison is two to
// three times as fast as loading every lane's elements one by one.
struct RowRange {
  int lowest, highest;  // lowest > highest: no lane

  bool isNarrow() const { return lowest <= highest && highest - lowest < 6; }
};

MIREL_INLINE int smallest(const Ints& v) {
  typedef int Four __attribute__((vector_size(4 * sizeof(int))));
  Four parts[laneCount / 4];
  __builtin_memcpy(parts, &v, sizeof v);
  Four least = parts[0];
#pragma GCC unroll 4
  for (int i = 1; i < laneCount / 4; ++i) least = parts[i] < least ? parts[i] : least;
  const int a = least[0] < least[1] ? least[0] : least[1];
  const int b = least[2] < least[3] ? least[2] : least[3];
  return a < b ? a : b;
}

// The range of the rows of those lanes for which `counts` holds.
MIREL_INLINE void findRange(const Ints& row, const Ints& counts, RowRange& range) {
  constexpr int largest = 0x7fffffff;
  range.lowest = smallest(counts ? row : Ints{} + largest);
  range.highest = -smallest(counts ? -row : Ints{} + largest);
}

// Most often all lanes read within one row of some `base`, such as the row of the middle lane,
// which is found without waiting for the others. Then as many rows as can occur are loaded, and no
// branch depends on how many there are.
struct NearRows {
  int base;
  Ints before, after;  // lanes that are one row away from it
};

// Whether the rows of all lanes are that near.
MIREL_INLINE bool findNearRows(const Ints& row, int base, NearRows& result) {
  result.base = base;
  const Ints offset = row - base;
  result.before = offset < 0;
  result.after = offset > 0;
  return areWithinOne(offset);
}

// Every lane's element of its own row, of three rows around `near.base`.
MIREL_INLINE void pickNear(const NearRows& near, const Floats& before, const Floats& at,
                           const Floats& after, Floats& value) {
  value = near.before ? before : near.after ? after : at;
}
