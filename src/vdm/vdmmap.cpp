#include "vdm/vdmmap.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "base/assertion.h"
#include "hostapi/ztaccess.h"

namespace mirel {

namespace {

// The sites belong to the plugin object, for which maps are saved and loaded.
constexpr const char* sourceFile = "src/plugin/distcor.cpp";

// The host's map header. Its record may be longer than the fields in use.
struct MapHeader {
  std::int32_t DimX = 0, DimY = 0, DimZ = 0;
  std::int32_t kind = 0;
  float parameter1 = 0, parameter2 = 0;
  std::int32_t untouched = 0;
  std::int32_t flag = 0;
  std::uint8_t hostFields[224] = {};
};

struct HostMap {
  MapHeader header;
  float** slices = nullptr;
};

void readHostMap(HostMap& map) {
  map.slices = exported(host::ztGetMAPOfCurrentFMR, "ztGetMAPOfCurrentFMR")(&map.header);
  require(map.slices != nullptr, sourceFile, 97, "slices != nullptr");
}

// Otherwise the host's memory would be read or written at places of nobody.
void requireSlices(const HostMap& map) {
  const MapHeader& header = map.header;
  if (header.DimX < 0 || header.DimY < 0 || header.DimZ < 0)
    throw std::runtime_error("The host's map has a dimension below 0.");
  for (int z = 0; z < header.DimZ; ++z)
    if (map.slices[z] == nullptr)
      throw std::runtime_error("The host's map has no slice " + std::to_string(z) + ".");
}

std::ptrdiff_t sliceSize(const MapHeader& header) {
  return static_cast<std::ptrdiff_t>(header.DimX) * header.DimY;
}

}  // namespace

void saveMap(const Volume<float>& vdm, bool transpose, float param1, float param2,
             const std::string& fileName) {
  const Volume<float> copy = transpose ? vdm.transposeXY() : vdm;
  exported(host::ztCreateMAPForCurrentFMR, "ztCreateMAPForCurrentFMR")();
  HostMap map;
  readHostMap(map);
  const glm::ivec3 dim = copy.dimensions();
  require(dim.z == map.header.DimZ, sourceFile, 98, "dim.z == header.DimZ");
  require(dim.y == map.header.DimY, sourceFile, 99, "dim.y == header.DimY");
  require(dim.x == map.header.DimX, sourceFile, 100, "dim.x == header.DimX");
  requireSlices(map);
  for (int z = 0; z < dim.z; ++z)
    std::copy_n(copy.data() + z * sliceSize(map.header), sliceSize(map.header), map.slices[z]);
  map.header.kind = 1;
  map.header.parameter1 = param1;
  map.header.parameter2 = param2;
  map.header.flag = 0;
  exported(host::ztSetMAPParametersOfCurrentFMR, "ztSetMAPParametersOfCurrentFMR")(&map.header);
  exported(host::ztSaveMAPsOfCurrentFMR, "ztSaveMAPsOfCurrentFMR")(fileName.c_str());
}

Volume<float> loadMap(const std::string& fileName) {
  exported(host::ztLoadMAPsToCurrentFMR, "ztLoadMAPsToCurrentFMR")(fileName.c_str());
  HostMap map;
  readHostMap(map);
  requireSlices(map);
  Volume<float> vdm(map.header.DimX, map.header.DimY, map.header.DimZ);
  for (int z = 0; z < vdm.nz(); ++z)
    std::copy_n(map.slices[z], sliceSize(map.header), vdm.data() + z * sliceSize(map.header));
  return vdm;
}

}  // namespace mirel
