#include "host/mapstore.h"

#include <utility>

#include "base/dimensions.h"
#include "base/error.h"
#include "files/mapfile.h"
#include "files/usablemap.h"

namespace mirel {

namespace {

std::string dimensionText(const MapHeader& header) {
  return text({header.dimX, header.dimY, header.dimZ}, "x");
}

bool sameDimensions(const MapHeader& a, const MapHeader& b) {
  return a.dimX == b.dimX && a.dimY == b.dimY && a.dimZ == b.dimZ;
}

}  // namespace

void MapStore::setCurrentDimensions(int dimX, int dimY, int dimZ) {
  current = MapHeader{};
  current.dimX = dimX;
  current.dimY = dimY;
  current.dimZ = dimZ;
  map.reset();
  slices.clear();
}

void MapStore::hold(Map newMap) {
  map = std::move(newMap);
  slices.clear();
  const std::size_t sliceSize =
      static_cast<std::size_t>(map->header.dimX) * static_cast<std::size_t>(map->header.dimY);
  for (std::size_t z = 0; z < static_cast<std::size_t>(map->header.dimZ); ++z)
    slices.push_back(map->values.data() + z * sliceSize);
}

void MapStore::create() {
  map.reset();
  slices.clear();
  if (current.dimX < 1 || current.dimY < 1 || current.dimZ < 1)
    throw Error("cannot create a map: no project is current");
  Map fresh;
  fresh.header = current;
  fresh.values.assign(static_cast<std::size_t>(current.dimX) *
                          static_cast<std::size_t>(current.dimY) *
                          static_cast<std::size_t>(current.dimZ),
                      0.0f);
  hold(std::move(fresh));
}

float** MapStore::get(MapHeader& header) {
  header = map ? map->header : MapHeader{};
  return map ? slices.data() : nullptr;
}

void MapStore::setParameters(const MapHeader& header) {
  if (!map) throw Error("cannot set the parameters of a map: there is none");
  map->header.kind = header.kind;
  map->header.param1 = header.param1;
  map->header.param2 = header.param2;
  map->header.reserved = header.reserved;
  map->header.flag = header.flag;
}

void MapStore::refuseUnusable(const std::string& fileName) const {
  if (map) refuseUnusableMap(*map, fileName);
}

void MapStore::save(const std::string& fileName) {
  if (!map) throw Error("cannot write the map " + fileName + ": there is no map to write");
  if (setSize == 1) return writeMapFile(fileName, *map);
  kept.add(fileName, *map);
  if (kept.size() >= setSize) writeKept();
}

void MapStore::writeKept() {
  setSize = 1;
  const MapSet complete = std::exchange(kept, {});
  complete.write();
}

void MapStore::load(const std::string& fileName) {
  map.reset();
  slices.clear();
  Map loaded = readMapFile(fileName);
  if (!sameDimensions(loaded.header, current))
    throw Error("cannot load the map " + fileName + ": it is " + dimensionText(loaded.header) +
                ", but the current project is " + dimensionText(current));
  refuseUnusableMap(loaded, fileName);
  hold(std::move(loaded));
}

}  // namespace mirel
