#pragma once

#include <string>

#include "containers/volume.h"

namespace mirel {

/// Voxel displacement maps as ".map" files of the host. The host keeps the map of its current
/// FMR and writes and reads the files; these functions hand volumes over and take them back.

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

/// Name of the map beside a project: "/data/run1.fmr" gives "/data/run1_vdm.map". The last dot of
/// the whole name counts, be it in a directory's name.
std::string vdm_filename(const std::string& projectFileName);

/// The same for the map's derivative: "/data/run1_vdmderiv.map".
std::string vdmderiv_filename(const std::string& projectFileName);

}  // namespace mirel
