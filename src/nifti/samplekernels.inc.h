// Samples to values and back, one per lane. What is exploited:
// - Adding 1.5 * 2^23 to a float of a few bits, or 1.5 * 2^52 to a double, rounds it to the nearest
//   whole number, ties to even: the last bit of the sum stands for 1. Its lower bits are then the
//   number, negative ones as their complement to two.
// - Without scaling, integers of up to 16 bits and the halves between them are exact in float: the
//   values that double would give, of twice as many at a time.

template <typename T>
constexpr bool isSmall = sizeof(T) <= 2;

// Samples that were clamped to the ends of a type, by lane.
template <typename Lanes>
struct ClampedLanes {
  Lanes above = {}, below = {};
};

template <typename Lanes>
MIREL_INLINE void addTo(nifti::ClampedSamples& clamped, const ClampedLanes<Lanes>& lanes) {
  for (unsigned l = 0; l < sizeof lanes.above / sizeof lanes.above[0]; ++l) {
    clamped.above += static_cast<std::size_t>(lanes.above[l]);
    clamped.below += static_cast<std::size_t>(lanes.below[l]);
  }
}

// What rounds to a whole number within the type T; NaN is 0.
template <typename T, typename Scalar, typename Values, typename Lanes>
MIREL_INLINE void clampTo(Values& v, ClampedLanes<Lanes>& clamped) {
  constexpr Scalar least = std::numeric_limits<T>::min(), largest = std::numeric_limits<T>::max();
  constexpr Scalar half = 0.5;
  const Values bottom = Values{} + least, top = Values{} + largest;
  const Lanes above = v >= top + half, below = v < bottom - half;
  clamped.above -= above;  // a comparison that holds is -1
  clamped.below -= below;
  v = v == v ? v : Values{};
  v = v > top ? top : v;
  v = v < bottom ? bottom : v;
}

// The lower bits of `rounded` are the samples of laneCount values.
template <typename T>
MIREL_INLINE void roundPlain(const float* src, Ints& rounded, ClampedLanes<Ints>& clamped) {
  Floats v;
  load(v, src);
  clampTo<T, float>(v, clamped);
  rounded = (Ints)(v + 12582912.0f);
}

// The same of halfCount values, in double.
template <typename T, bool isScaled>
MIREL_INLINE void roundInDouble(const nifti::SampleRun& run, const float* src, HalfInts& rounded,
                                ClampedLanes<Longs>& clamped) {
  HalfFloats f;
  Doubles v;
  load(f, src);
  widen(v, f);
  if constexpr (isScaled) v = (v - run.inter) / run.slope;
  clampTo<T, double>(v, clamped);
  narrow(rounded, (Longs)(v + 6755399441055744.0));
}

template <typename T>
MIREL_INLINE void storeSamples(unsigned char* bytes, const Ints& samples) {
  if constexpr (sizeof(T) == 4) {
    store(bytes, samples);
  } else if constexpr (sizeof(T) == 2) {
    ShortLanes low;
    narrow(low, samples);
    store(bytes, low);
  } else {
    ByteLanes low;
    narrow(low, samples);
    store(bytes, low);
  }
}

template <typename T>
std::size_t encodePlain(const nifti::SampleRun& run, const float* src, unsigned char* bytes,
                        nifti::ClampedSamples& clamped) {
  const std::size_t whole = run.count / laneCount * laneCount;
  ClampedLanes<Ints> lanes;
  for (std::size_t n = 0; n < whole; n += laneCount) {
    Ints samples;
    roundPlain<T>(src + n, samples, lanes);
    storeSamples<T>(bytes + n * sizeof(T), samples);
  }
  addTo(clamped, lanes);
  return whole;
}

template <typename T, bool isScaled>
std::size_t encodeInDouble(const nifti::SampleRun& given, const float* src, unsigned char* bytes,
                           nifti::ClampedSamples& clamped) {
  const nifti::SampleRun run = given;  // a copy, which no store can change
  const std::size_t whole = run.count / laneCount * laneCount;
  ClampedLanes<Longs> lanes;
  for (std::size_t n = 0; n < whole; n += laneCount) {
    HalfInts halves[2];
    roundInDouble<T, isScaled>(run, src + n, halves[0], lanes);
    roundInDouble<T, isScaled>(run, src + n + halfCount, halves[1], lanes);
    Ints samples;
    load(samples, halves);
    storeSamples<T>(bytes + n * sizeof(T), samples);
  }
  addTo(clamped, lanes);
  return whole;
}

template <typename T>
std::size_t encodeSamples(const nifti::SampleRun& run, const float* src, unsigned char* bytes,
                          nifti::ClampedSamples& clamped) {
  if (run.isScaled) return encodeInDouble<T, true>(run, src, bytes, clamped);
  if constexpr (isSmall<T>)
    return encodePlain<T>(run, src, bytes, clamped);
  else
    return encodeInDouble<T, false>(run, src, bytes, clamped);
}

template <typename T>
MIREL_INLINE void loadSamples(Ints& samples, const unsigned char* bytes) {
  if constexpr (sizeof(T) == 2) {
    ShortLanes stored;
    load(stored, bytes);
    samples = __builtin_convertvector(stored, Ints);
    if constexpr (std::is_unsigned_v<T>) samples &= 0xffff;
  } else {
    ByteLanes stored;
    load(stored, bytes);
    samples = __builtin_convertvector(stored, Ints);
    if constexpr (std::is_unsigned_v<T>) samples &= 0xff;
  }
}

// Of halfCount samples; beyond the range of float infinite.
MIREL_INLINE void scaleSamples(const nifti::SampleRun& run, const HalfInts& samples, float* dst) {
  const Doubles largest = Doubles{} + static_cast<double>(std::numeric_limits<float>::max());
  const Doubles infinity = Doubles{} + std::numeric_limits<double>::infinity();
  Doubles v = __builtin_convertvector(samples, Doubles) * run.slope + run.inter;
  v = v > largest ? infinity : v;
  v = v < -largest ? -infinity : v;
  store(dst, __builtin_convertvector(v, HalfFloats));
}

template <typename T>
std::size_t decodeSamples(const nifti::SampleRun& given, const unsigned char* bytes, float* dst) {
  const nifti::SampleRun run = given;
  const std::size_t whole = run.count / laneCount * laneCount;
  for (std::size_t n = 0; n < whole; n += laneCount) {
    Ints samples;
    loadSamples<T>(samples, bytes + n * sizeof(T));
    if (run.isScaled) {
      HalfInts halves[2];
      store(halves, samples);
      scaleSamples(run, halves[0], dst + n);
      scaleSamples(run, halves[1], dst + n + halfCount);
    } else {
      store(dst + n, __builtin_convertvector(samples, Floats));
    }
  }
  return whole;
}
