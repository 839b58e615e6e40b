#pragma once

#include <optional>
#include <string>
#include <vector>

#include "files/map.h"
#include "files/mapset.h"

namespace mirel {

/// The maps of the host's current FMR, as far as the plugin uses them: one map at a time.
///
/// The current FMR is the project that the map belongs to. Its dimensions are set by the command
/// before a task runs: those of the first project for an estimate (be it FMR or DMR), those of
/// the map itself where a map is applied. A map has the dimensions of the current FMR.
class MapStore {
 public:
  /// Makes a project of these dimensions current; the map of the one before is gone.
  void setCurrentDimensions(int dimX, int dimY, int dimZ);

  /// A new map of zeros for the current FMR, in place of the one before.
  /// Errors   Error when no project is current.
  void create();

  /// Fills all eight fields of `header` and returns one array per slice (x fastest), valid until
  /// the map is replaced. Without a map: a header of zeros and null.
  float** get(MapHeader& header);

  /// Takes kind, parameters, reserved word and flag from `header`; the dimensions stay.
  /// Errors   Error when there is no map.
  void setParameters(const MapHeader& header);

  /// Errors   Error naming `fileName`: the map is none to correct an image with
  ///          (refuseUnusableMap).
  void refuseUnusable(const std::string& fileName) const;

  /// Writes the map to `fileName`. Errors: Error when there is no map or it cannot be written.
  void save(const std::string& fileName);

  /// The next `count` maps are one set: `save` keeps them, and writes all with the last one.
  void saveTogether(std::size_t count) { setSize = count; }
  /// Writes those kept of a set that did not become complete. Errors: those of MapSet::write.
  void writeKept();

  /// Puts the map of `fileName` in place of the one before. A failure leaves no map at all, so
  /// that nobody takes an earlier map for this one.
  /// Errors   Error: a file that `readMapFile` or `refuseUnusableMap` refuses; dimensions that are
  /// not those of the
  ///          current FMR.
  void load(const std::string& fileName);

 private:
  void hold(Map newMap);

  MapHeader current;
  std::optional<Map> map;
  std::vector<float*> slices;
  std::size_t setSize = 1;
  MapSet kept;
};

}  // namespace mirel
