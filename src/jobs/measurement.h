#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "jobs/measurefield.h"
#include "nifti/header.h"
#include "phase/measuredfield.h"

namespace mirel {

/// What a run of measureField read, and the field that it made of it.
struct Measurement {
  nifti::Header header;            ///< of the phase or field image
  std::string name;                ///< of that image, for messages
  std::vector<std::string> files;  ///< all that were read, sidecars included
  Json origin;                     ///< the part of the record that tells of them
  MeasuredField field;
};

/// A magnitude of the same echoes as a phase or field image by its name: sub-1_magnitude1 or
/// sub-1_magnitude beside sub-1_phasediff, say; empty where there is none.
std::string magnitudeBeside(const std::string& image);

/// Reads what the options name and makes the field; adds to the notes and warnings of `run`.
/// Errors: those of measureField that are about its inputs.
Measurement readMeasurement(const MeasureFieldOptions& options, MeasuredFieldRun& run);

}  // namespace mirel
