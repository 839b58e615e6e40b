#pragma once

#include <string>
#include <vector>

#include "phase/phasefile.h"

namespace mirel {

/// An image of complex values, whose real and imaginary parts stand in two files or in one.
struct ComplexParts {
  PhaseFile phase;  ///< its file is the real part; NaN where both are 0 or one is not finite
  std::string imaginaryFile;  ///< empty: both are in one
  FileStamp imaginaryStamp;
  Volume<float> magnitude;
  int notFinite = 0;  ///< voxels of which one or both are not finite

  /// A sentence about what the phases are.
  std::string note() const;

  /// A sentence about the voxels that are not finite; empty where all are.
  std::string warning() const;
};

/// The file beside a real part that holds the imaginary one, by the names of BIDS (part-real,
/// part-imag). Throws Error where the name is another one or there is no such file.
std::string imaginaryBeside(const std::string& realFile);

/// Reads both parts, of one volume each, NIfTI.
///
/// Errors  Error: those of nifti::Reader and findSidecar; several volumes; an orientation that is
///         singular; other grids; another part by its name or the ImageType of its sidecar; no
///         values on one side of 0, as in parts that are stored with an offset; twice the same;
///         other echoes by their names (echo-1) or by EchoTime of their sidecars.
ComplexParts readComplexParts(const std::string& realFile, const std::string& imaginaryFile);

/// Reads an image of complex numbers, NIfTI: each volume is an echo.
///
/// Errors  Error: those of nifti::Reader and findSidecar; an orientation that is singular; a part
///         without values on one side of 0, as when a magnitude was stored as complex numbers.
std::vector<ComplexParts> readComplexImage(const std::string& fileName);

}  // namespace mirel
