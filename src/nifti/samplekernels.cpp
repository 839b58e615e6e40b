#include "nifti/samplekernels.h"

#include <limits>
#include <type_traits>

#define MIREL_KERNEL_SOURCE "nifti/samplekernels.inc.h"
#include "simd/kernelvariants.inc.h"

namespace mirel::nifti {

template <typename T>
std::size_t encodeRegisters(const SampleRun& run, const float* src, unsigned char* bytes,
                            ClampedSamples& clamped, SimdVariant variant) {
  return MIREL_DISPATCH(variant, encodeSamples<T>)(run, src, bytes, clamped);
}

template <typename T>
std::size_t decodeRegisters(const SampleRun& run, const unsigned char* bytes, float* dst,
                            SimdVariant variant) {
  return MIREL_DISPATCH(variant, decodeSamples<T>)(run, bytes, dst);
}

#define MIREL_DECODE(T)                                                                   \
  template std::size_t decodeRegisters<T>(const SampleRun&, const unsigned char*, float*, \
                                          SimdVariant);
#define MIREL_ENCODE(T)                                                                   \
  template std::size_t encodeRegisters<T>(const SampleRun&, const float*, unsigned char*, \
                                          ClampedSamples&, SimdVariant);
MIREL_DECODE(std::int8_t)
MIREL_DECODE(std::uint8_t)
MIREL_DECODE(std::int16_t)
MIREL_DECODE(std::uint16_t)
MIREL_ENCODE(std::int8_t)
MIREL_ENCODE(std::uint8_t)
MIREL_ENCODE(std::int16_t)
MIREL_ENCODE(std::uint16_t)
MIREL_ENCODE(std::int32_t)
MIREL_ENCODE(std::uint32_t)

}  // namespace mirel::nifti
