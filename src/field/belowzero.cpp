#include "field/belowzero.h"

#include <algorithm>

namespace mirel {

bool holdsBelowZero(const Volume<float>& volume) {
  return std::any_of(volume.data(), volume.data() + volume.size(),
                     [](float value) { return value < 0.0f; });
}

std::int64_t raiseToZero(Volume<float>& volume) {
  std::int64_t raised = 0;
  float* values = volume.data();
  for (int n = 0; n < volume.size(); ++n)
    if (values[n] < 0.0f) {
      values[n] = 0.0f;
      ++raised;
    }
  return raised;
}

}  // namespace mirel
