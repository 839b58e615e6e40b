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
  Volume<float> on(const series::Grid& grid) const;
  /// The same for a grid of one slice.
  Measured onPlane(const series::Grid& grid) const;

 private:
  std::vector<Layer> regions;
};

/// By the rule of Scene::measured; everywhere for a scene without maps.
MeasuredSpace measuredOf(const Scene& scene, const Style& style);

}  // namespace mirel::picture
