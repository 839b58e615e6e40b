#pragma once

#include <string>

#include "jobs/distortionfile.h"
#include "pair/pairinput.h"

namespace mirel {

/// Reads the field in Hz that a pair's estimate starts from into its `start`: displacements on the
/// pair's grid, forward for A. What is suspicious about the field, that it is of another
/// subject or session by its name, and that part of the head lies off its grid goes to the pair's
/// warnings.
///
/// Errors  Error: those of readDistortionFile and fieldOf; the file holds a displacement map; the
///         pair's readout time is not known; the field covers nothing of the pair.
DistortionFile readStartingField(const std::string& file, PairInput& pair);

}  // namespace mirel
