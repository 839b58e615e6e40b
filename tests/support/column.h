#pragma once

#include <initializer_list>

#include "containers/volume.h"

namespace mirel {

/// A volume of one column along y.
inline Volume<float> column(std::initializer_list<float> values) {
  Volume<float> v(1, static_cast<int>(values.size()), 1);
  v.copyData(values.begin());
  return v;
}

}  // namespace mirel
