#pragma once

#include <optional>
#include <string>

/// What the values of a field map or a displacement map are, as the field "Units" of its sidecar
/// says it.
namespace mirel::bids {

enum class Unit {
  hertz,
  radiansPerSecond,
  tesla,
  voxels,
  millimetres,
  radians,    ///< a phase, not a field
  arbitrary,  ///< a phase as the scanner stored it
};

/// The unit of a text, in the spellings that are met: "Hz", "rad/s", "T", "voxels", "mm", "rad",
/// "arbitrary" and the like, whatever their case. Nothing for any other text.
///
/// Source  Brain Imaging Data Structure, field maps: Hz, rad/s and T of a `fieldmap`, arbitrary and
///         rad of phase images; voxels and mm are of displacement maps, which it does not know.
std::optional<Unit> unitOf(const std::string& text);

/// "Hz", "rad/s", "T", "voxels", "mm", "rad", "arbitrary".
std::string nameOf(Unit unit);

/// Of a field, which fits any grid: Hz, rad/s, T.
inline bool isOfField(Unit unit) { return unit <= Unit::tesla; }
/// Of a displacement map, which is of one acquisition: voxels, mm.
inline bool isOfMap(Unit unit) { return unit == Unit::voxels || unit == Unit::millimetres; }

/// Hz per unit of a field: 1, 1 / (2 pi), 42.577 478 5e6 (the proton's gyromagnetic ratio over
/// 2 pi, CODATA 2018). Throws std::logic_error for a unit of no field.
double hertzPer(Unit unit);

}  // namespace mirel::bids
