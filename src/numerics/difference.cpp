#include "numerics/difference.h"

#include <algorithm>

namespace mirel {

Volume<float> slopeAlong(const Volume<float>& v, int axis, double step, const Parallel& parallel) {
  Volume<float> result(v.dimensions());
  const int last = v.dimensions()[axis] - 1;
  inSlices(parallel, v.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z)
      for (int y = 0; y < v.ny(); ++y)
        for (int x = 0; x < v.nx(); ++x) {
          glm::ivec3 low(x, y, z), high(x, y, z);
          low[axis] = std::max(low[axis] - 1, 0);
          high[axis] = std::min(high[axis] + 1, last);
          const int steps = high[axis] - low[axis];
          const double rise = static_cast<double>(v[high]) - static_cast<double>(v[low]);
          result.at(x, y, z) = steps > 0 ? static_cast<float>(rise / (steps * step)) : 0.0f;
        }
  });
  return result;
}

}  // namespace mirel
