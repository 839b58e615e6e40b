#pragma once

#include <vector>

#include "picture/draw.h"
#include "picture/layer.h"

namespace mirel::picture {

struct Scene;
struct Style;

/// The places where maps were measured: those in at least half of some masks.
class MeasuredSpace {
 public:
  /// Everywhere.
  MeasuredSpace() = default;
  /// `masks`: 1 inside, 0 outside.
  explicit MeasuredSpace(std::vector<Layer> masks) : regions(std::move(masks)) {}

  /// 1 at the voxels of a grid where maps were measured, 0 elsewhere; nothing for everywhere.
  Volume<float> on(const Grid& grid) const;
  /// The same for a grid of one slice.
  Measured onPlane(const Grid& grid) const;

 private:
  std::vector<Layer> regions;
};

/// Where the maps of a scene were measured, by the rule of Scene::measured.
class MeasuredSpaces {
 public:
  MeasuredSpaces(const Scene& scene, const Style& style);

  /// That of one map. Where every input is cut in its own grid, only images of the map's grid tell:
  /// others may be of another head.
  MeasuredSpace of(const Layer& map) const;

 private:
  std::vector<Layer> masks;
  bool onlySameGrid = false;
};

}  // namespace mirel::picture
