#pragma once

#include <string>

#include "containers/volume.h"
#include "files/map.h"

namespace mirel {

/// A map with the dimensions and values of `volume`, the rest of its header 0; and the volume of a
/// map that was read.
Map mapOf(const Volume<float>& volume);
Volume<float> volumeOf(const Map& map);

/// Writes `map` to a `.map` file (grammar in mapfile.cpp), whole or not at all.
///
/// Errors   Error naming the file: dimensions that are not positive, or a number of values
///          that is not their product (both before anything is written); a write that fails.
void writeMapFile(const std::string& fileName, const Map& map);

/// Reads a `.map` file written by `writeMapFile`; the values come back bit for bit.
///
/// Errors   Error naming the file and the fault: cannot be opened, is not a map of this
///          program, is of another version, has impossible dimensions, is shorter or longer than
///          its dimensions ask for (found before any memory is taken), or is damaged (checksum).
Map readMapFile(const std::string& fileName);

}  // namespace mirel
