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

#define MIREL_ENCODE(T)                                                                   \
  template std::size_t encodeRegisters<T>(const SampleRun&, const float*, unsigned char*, \
                                          ClampedSamples&, SimdVariant);
MIREL_ENCODE(std::int8_t)
MIREL_ENCODE(std::uint8_t)
MIREL_ENCODE(std::int16_t)
MIREL_ENCODE(std::uint16_t)
MIREL_ENCODE(std::int32_t)
MIREL_ENCODE(std::uint32_t)

}  // namespace mirel::nifti
