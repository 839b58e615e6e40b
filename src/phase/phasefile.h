#pragma once

#include <optional>
#include <string>

#include "base/filestamp.h"
#include "bids/sidecar.h"
#include "nifti/header.h"
#include "phase/phasescale.h"

namespace mirel {

/// A phase image as it stands in a file, and what the file says about it.
struct PhaseFile {
  std::string file;
  FileStamp stamp;  ///< of the file before it was read
  nifti::Header header;
  std::optional<bids::Sidecar> sidecar;  ///< all that apply to it, as one
  PhaseScale scale;
  Volume<float> radians;           ///< within half a turn of 0; NaN where the image tells no phase
  int echo = 0, echoesInFile = 1;  ///< which of how many the file has; above 1: complex ones
  int filled = 0;                  ///< voxels that share one value, by which something was masked

  /// A sentence about the voxels that have no phase; empty where all have one.
  std::string fillNote() const;

  /// A sentence about the scale that was taken.
  std::string scaleNote() const;
};

/// Reads a phase image of one volume, NIfTI, with the scale that phaseScaleOf finds in it. Voxels
/// without a phase are those that are not finite, and, where more than one of 20 voxels share one
/// value, those: somebody masked them, and 0 may mean half a turn.
///
/// Errors  Error: those of nifti::Reader, findSidecar and phaseScaleOf; several volumes; an
///         orientation that is singular; a magnitude, by its name or by the ImageType of its
///         sidecar; units that are not known.
PhaseFile readPhaseFile(const std::string& fileName);

/// The phase that `second` has beyond `first`, within half a turn of 0: the angle of the product of
/// exp(i second) with the conjugate of exp(i first).
///
/// Errors  Error, naming both, when their grids do not coincide or their phases are the same.
Volume<float> phaseDifference(const PhaseFile& first, const PhaseFile& second);

}  // namespace mirel
