// Sixteen sums side by side keep the adders busy; the search of the trials adds like this.
double addLoaded(const double* values, int elements, int rounds) {
  constexpr int sumCount = 16;
  Doubles sums[sumCount] = {};
  for (int round = 0; round < rounds; ++round)
    for (int i = 0; i < elements; i += sumCount * halfCount)
#pragma GCC unroll 16
      for (int s = 0; s < sumCount; ++s) {
        Doubles v;
        load(v, values + i + s * halfCount);
        sums[s] += v;
      }
  double total = 0;
  for (int s = 0; s < sumCount; ++s)
    for (int l = 0; l < halfCount; ++l) total += sums[s][l];
  return total;
}

float multiplyAndAdd(float factor, int rounds) {
  constexpr int sumCount = 12;
  Floats sums[sumCount], factors[2] = {Floats{} + factor, Floats{} + factor};
  for (int s = 0; s < sumCount; ++s) sums[s] = Floats{} + static_cast<float>(s);
  for (int round = 0; round < rounds; ++round)
#pragma GCC unroll 12
    for (int s = 0; s < sumCount; ++s) sums[s] = sums[s] * factors[0] + factors[1];
  Floats total = {};
  for (int s = 0; s < sumCount; ++s) total += sums[s];
  return total[0];
}
