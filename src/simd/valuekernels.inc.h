// See valuekernels.h.

bool allFinite(const float* values, int count) {
  Floats differences = {};
  int i = 0;
  for (; i + laneCount <= count; i += laneCount) {
    Floats v;
    load(v, values + i);
    differences += v - v;  // 0, or NaN that stays
  }
  const Ints notZero = differences != 0.0f;
  if (any(notZero)) return false;
  for (; i < count; ++i)
    if (values[i] - values[i] != 0.0f) return false;
  return true;
}

void addValues(double* sums, const float* values, int count) {
  int i = 0;
  for (; i + halfCount <= count; i += halfCount) {
    HalfFloats v;
    Doubles wide, sum;
    load(v, values + i);
    load(sum, sums + i);
    widen(wide, v);
    sum += wide;
    store(sums + i, sum);
  }
  for (; i < count; ++i) sums[i] += static_cast<double>(values[i]);
}
