#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/advice.h"
#include "bids/units.h"

namespace mirel {

struct MeasureFieldOptions {
  /// The difference of two phases, or the phases of two or more echoes; else empty.
  std::vector<std::string> phaseFiles;
  /// In their place the real parts of two or more echoes, and their imaginary ones; those empty:
  /// sub-1_echo-1_part-imag_MEGRE beside sub-1_echo-1_part-real_MEGRE, say (imaginaryBeside).
  std::vector<std::string> realFiles, imaginaryFiles;
  /// In their place images of complex numbers, of two or more echoes in all (readComplexImage).
  std::vector<std::string> complexFiles;
  std::string fieldFile;           ///< in their place: a field in Hz, rad/s or T
  std::optional<bids::Unit> unit;  ///< of that; nothing: readDistortionFile says
  /// On the same grid; empty: that of the first echo's parts, or sub-1_magnitude1 or
  /// sub-1_magnitude beside sub-1_phasediff, say.
  std::string magnitudeFile;
  std::vector<double> echoSeconds;  ///< one per echo; empty: the sidecars' echo times
  std::string output;               ///< .nii or .nii.gz; its sidecar gets the same name
  std::string version;              ///< of the program, for the record
};

/// What `measureField` wrote and has to say.
struct MeasuredFieldRun {
  std::vector<std::string> outputs;
  std::vector<Remark> notes, warnings;
};

/// The job of `mirel field` on what a scanner measured: a field in Hz on the grid of the phase (or
/// field) image, unwrapped, smoothed and continued beyond the head (fieldOfEchoes, fieldOfHertz),
/// and a sidecar with Units and where it comes from. Both files or none; older ones are replaced.
///
/// Errors  one sentence with the file and the fault, before anything is written: those of
///         readPhaseFile, readComplexParts, readComplexImage, echoTimesOf, readDistortionFile,
///         nifti::Reader and fieldOfEchoes; the phase of one echo alone; imaginary parts of another
///         number than real ones; another number of echo times than of echoes; a magnitude of
///         another grid or of several volumes; an output that is no NIfTI or would overwrite an
///         input.
MeasuredFieldRun measureField(const MeasureFieldOptions& options);

}  // namespace mirel
