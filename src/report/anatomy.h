#pragma once

#include <string>
#include <vector>

#include "base/advice.h"
#include "base/json.h"
#include "containers/volume.h"
#include "field/grid.h"

namespace mirel::report {

/// An anatomical image of the head (T1w, T2w) whose outline a page draws on others.
struct Anatomy {
  std::string file;
  Grid grid;
  Volume<float> image;
  std::string checksum;  ///< SHA-256 of the file
};

/// Errors  Error with the file's name: those of nifti::Reader; it holds more than one volume, is a
///         single slice, or does not say where it lies.
Anatomy readAnatomy(const std::string& file);

/// What speaks against drawing it on `image`, the file of a grid in the scanner: it is of another
/// subject by the names, or covers less than half of the grid.
/// Errors  Error, naming both, where it covers nothing of the grid.
std::vector<Remark> doubtsAbout(const Anatomy& anatomy, const Grid& grid, const std::string& image);

/// Its head on another grid, through the affines of both: 1 inside, 0 outside.
Volume<float> headOn(const Grid& grid, const Anatomy& anatomy);

/// Dice's overlap of two masks, 2 |A and B| / (|A| + |B|): 0 to 1; 0 where both are empty.
double overlapOf(const Volume<float>& a, const Volume<float>& b);

}  // namespace mirel::report
