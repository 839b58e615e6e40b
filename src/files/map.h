#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mirel {

/// The header record of a map, as the plugin and the host exchange it by address: eight fields
/// of 32 bits. The plugin reserves more room than that; the host touches only these 32 bytes.
struct MapHeader {
  std::int32_t dimX = 0;       ///< columns of each slice
  std::int32_t dimY = 0;       ///< rows of each slice
  std::int32_t dimZ = 0;       ///< slices
  std::int32_t kind = 0;       ///< set by the plugin
  float param1 = 0.0f;         ///< set by the plugin (lower display value)
  float param2 = 0.0f;         ///< set by the plugin (upper display value)
  std::uint32_t reserved = 0;  ///< neither side gives it a meaning; kept as it is
  std::int32_t flag = 0;       ///< set by the plugin
};
static_assert(sizeof(MapHeader) == 32);

/// A map in memory: voxel (x, y, z) is values[(z * dimY + y) * dimX + x].
struct Map {
  MapHeader header;
  std::vector<float> values;
};

}  // namespace mirel
