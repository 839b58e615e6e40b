#pragma once

#include <string>

#include "containers/volume.h"
#include "files/projectnames.h"

namespace mirel {

/// Voxel displacement maps as ".map" files of the host. The host keeps the map of its current
/// FMR and writes and reads the files; these functions hand volumes over and take them back.
/// The files have the names of `vdm_filename` and `vdmderiv_filename` (projectnames.h).

/// Stores `vdm`, transposed in x and y if asked for, as the map of the host's current FMR, and
/// has the host save it to `fileName`. `param1` and `param2` go to the map's parameters.
/// @throws std::logic_error, before anything is copied or saved, when the host has no map or the
///   map's dimensions differ.
void saveMap(const Volume<float>& vdm, bool transpose, float param1, float param2,
             const std::string& fileName);

/// Has the host load `fileName` and returns the map in the host's orientation: a transposition by
/// `saveMap` is not undone.
/// @throws std::logic_error when the host has no map.
Volume<float> loadMap(const std::string& fileName);

}  // namespace mirel
