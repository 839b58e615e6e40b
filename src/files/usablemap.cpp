#include "files/usablemap.h"

#include <algorithm>
#include <cmath>

#include "base/error.h"
#include "base/numbertext.h"

namespace mirel {

void refuseUnusableMap(const Map& map, const std::string& fileName) {
  const auto lost = std::count_if(map.values.begin(), map.values.end(),
                                  [](float v) { return !std::isfinite(v); });
  if (lost > 0)
    throw Error(fileName, "is no usable map: " + std::to_string(lost) + " of its " +
                              counted(map.values.size(), "value") + (lost == 1 ? " is" : " are") +
                              " not finite");
  float largest = 0;
  for (const float v : map.values) largest = std::max(largest, std::fabs(v));
  const int edge = std::max(map.header.dimX, map.header.dimY);
  if (largest > static_cast<float>(edge))
    throw Error(fileName, "is no usable map: it displaces by up to " + text(largest) +
                              " voxels, its slices have " + std::to_string(edge));
}

}  // namespace mirel
