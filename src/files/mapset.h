#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "files/map.h"

namespace mirel {

/// Maps that belong together: they are written, and appear, in one step for each folder.
class MapSet {
 public:
  void add(const std::string& fileName, Map map) { maps.emplace_back(fileName, std::move(map)); }
  bool empty() const { return maps.empty(); }
  std::size_t size() const { return maps.size(); }
  void clear() { maps.clear(); }

  /// Writes all maps that were added, in that order, replacing older files of their names; a
  /// name that was added twice gets the last map. All files are complete before the first one is
  /// replaced.
  ///
  /// Errors   those of writeMapFile: nothing has changed, unless a second folder fails when the
  ///          files of the first are in their places.
  void write() const;

 private:
  std::vector<std::pair<std::string, Map>> maps;
};

}  // namespace mirel
