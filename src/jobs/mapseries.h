#pragma once

#include <optional>
#include <vector>

#include "field/distortion.h"
#include "jobs/distortionfile.h"
#include "jobs/seriesinput.h"

namespace mirel {

/// What a user said about the map to apply.
struct GivenMap {
  std::optional<bids::PhaseEncodingDirection> direction;  ///< of the images that it is for
  bool alongX = false;  ///< it shifts along x, whatever axis sidecars tell
};

/// A series that a map of its own grid is to correct. Its direction and readout time stay open
/// where neither options nor sidecars have them.
///
/// Errors   Error with the file and the fault: those of nifti::Reader and of
///          bids::resolveAcquisition; another grid than the map's: other dimensions, or a place
///          more than a voxel away. From a twentieth of a voxel on it is a warning.
SeriesInput readSeriesForMap(const SeriesFile& options, const DistortionFile& map);

/// Settles along which axis a map shifts, for which direction it is, and how it is to be applied
/// to each series: `direction` and `mapScale` are set in each. The direction of the map is
///
///   what was given; else PhaseEncodingDirection in its sidecar, which is that of the image that
///   it is added to; else that of the first input in a record of this program (its axis only,
///   where that was assumed); else that of the series, and a warning says so; else the axis j.
///
/// A series of the opposite direction gets the map turned round. Where both readout times are
/// known and differ by more than 1 %, the map is scaled by their ratio, and a note says so; where
/// this program made the map and did not know its own, series are warned of (doubtUnknownReadout).
/// A series without a direction that is an input in the map's record, by its checksum, has the
/// direction that stands there.
///
/// Errors   Error: a map and a series of different axes; a map of known direction and a series of
///          unknown, or the reverse and series of different directions; one voxel size that is no
///          positive number, for a map in mm.
Distortion settleMap(DistortionFile& map, const GivenMap& given, std::vector<SeriesInput>& series);

/// The values of a map in voxels, for an image `name` of the given direction: converted from mm,
/// and turned round where the map says that it is for the opposite direction (a note is added
/// then). A map that does not say so is for this direction, with a warning (a note for a .map).
///
/// Errors   Error: the map says that it shifts along another axis.
Volume<float> shiftFor(DistortionFile& map, bids::PhaseEncodingDirection direction,
                       const std::string& name);

}  // namespace mirel
