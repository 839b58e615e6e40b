#include "nifti/finite.h"

#include <algorithm>
#include <cmath>

#include "base/error.h"
#include "simd/valuekernels.h"

namespace mirel::nifti {

void requireFinite(const Volume<float>& result, const std::string& fileName) {
  if (allFinite(result.data(), result.size(), chosenVariant())) return;
  const auto beyond = std::count_if(result.data(), result.data() + result.size(),
                                    [](float v) { return !std::isfinite(v); });
  throw Error(fileName, "cannot be written: " + std::to_string(beyond) +
                            " of its values would exceed the range of 32-bit floats (3.4e38)");
}

std::string whatIsNotFinite(std::size_t count, std::size_t beyond) {
  if (beyond == 0) return "NaN or infinite";
  return std::string(beyond < count ? "NaN, infinite or " : "") +
         "beyond the range of 32-bit floats (3.4e38)";
}

}  // namespace mirel::nifti
