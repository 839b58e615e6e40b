#pragma once

#include <optional>
#include <string>
#include <variant>

#include "field/fieldhz.h"

namespace mirel {

/// A displacement map that is known for images of its own grid only, since no readout times tell
/// what it would be on others.
struct GridShift {
  Volume<float> shift;  ///< voxels along the axis of `direction`, to be applied forward
  /// Of the images that it is for. Of an image with the opposite direction it is the negative.
  bids::PhaseEncodingDirection direction;
  std::optional<glm::dmat4> affine;  ///< nothing where the map's file tells no place
  std::string name;                  ///< what messages call it
};

/// What displaced the voxels of the images of a session: a field in Hz, which fits any grid, or a
/// map for one.
class Distortion {
 public:
  explicit Distortion(FieldHz field) : known(std::move(field)) {}
  explicit Distortion(GridShift shift) : known(std::move(shift)) {}

  bool isField() const { return std::holds_alternative<FieldHz>(known); }
  const FieldHz& field() const { return std::get<FieldHz>(known); }
  const GridShift& gridShift() const { return std::get<GridShift>(known); }

  const std::string& name() const;
  glm::ivec3 dims() const;
  /// Whether images of this grid need no resampling of it. A map of no known place fits every grid
  /// of its dimensions.
  bool isOn(const Grid& grid) const;

  /// The map of an image, voxels along its axis, to be applied forward: see shiftVoxels.
  ///
  /// @param readoutSeconds  of the image; not looked at where a map is known
  /// Errors  those of shiftVoxels; std::logic_error when a map is known, but for another grid or
  ///         another axis.
  Volume<float> shiftFor(const Grid& image, bids::PhaseEncodingDirection direction,
                         std::optional<double> readoutSeconds) const;

 private:
  std::variant<FieldHz, GridShift> known;
};

}  // namespace mirel
