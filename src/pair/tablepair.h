#pragma once

#include <string>
#include <vector>

#include "base/advice.h"
#include "pair/pairinput.h"

namespace mirel {

/// Two images whose directions and readout times an acquisition table tells.
struct TablePair {
  ImageOptions a, b;
  std::vector<Remark> notes, warnings;
};

/// Finds the rows of the images of a pair in an acquisition table (bids::readAcquisitionTable).
///
///   b.file empty     `a` holds both directions: one row per volume. `a` is its volume `a.volume`,
///                    `b` its volume `b.volume`, or where that is below 0 the first one that is
///                    encoded in the opposite direction.
///   two files        one row per image, or one row per volume of A and then of B, as when the
///                    two are merged; `b.volume` below 0 is that of A
///   twice one file   one row per volume
///
/// What cannot be known is told: that the first component counts against the first axis of an
/// image; that an image has no orientation, on which that depends; that a sidecar says something
/// else than the table, which counts; that volumes stay unused.
///
/// Errors  Error, naming the file and the fault: those of readAcquisitionTable and of
///         nifti::Reader; another number of rows; a volume that is not there; a mean of volumes
///         whose rows differ; no row of the opposite direction.
TablePair pairByTable(const ImageOptions& a, const ImageOptions& b, const std::string& tableFile);

}  // namespace mirel
