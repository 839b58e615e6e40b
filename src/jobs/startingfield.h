#pragma once

#include <string>

#include "jobs/distortionfile.h"
#include "pair/pairinput.h"
#include "pair/verdict.h"

namespace mirel {

/// Reads the field in Hz that a pair's estimate starts from into its `start`: displacements on the
/// pair's grid, forward for A. What is suspicious about the field, that it is of another
/// subject or session by its name, and that part of the head lies off its grid goes to the pair's
/// warnings.
///
/// Errors  Error: those of readDistortionFile and fieldOf; the file holds a displacement map; the
///         pair's readout time is not known; the field covers nothing of the pair.
DistortionFile readStartingField(const std::string& file, PairInput& pair);

/// Makes the result doubtful where nothing but the field corrects the pair (startIsMap) and its
/// values are suspicious (DistortionFile::doubts), or it covers less than 80 % of the head. The
/// former are no more warnings of the pair then: the verdict's reasons are told, too.
void doubtStartingField(const DistortionFile& start, PairInput& pair, Verdict& verdict);

}  // namespace mirel
