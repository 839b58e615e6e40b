#pragma once

#include <string>
#include <vector>

#include "base/progress.h"
#include "jobs/runrecord.h"
#include "jobs/seriesinput.h"

/// Series whose motion this program finds itself.
namespace mirel {

/// Looks for the motion of the head within a series and sets input.motion where it moved. Volumes
/// with diffusion gradients get the motion between that of the volumes without around them.
/// Volumes whose motion is not credible are taken not to have moved. A motion that was found before
/// keeps its reference.
///
/// @param shift  the map of the series where the head is at the reference
/// @param file   that the motion will be written to, for messages
/// Errors  those of realign; what `progress` throws.
RealignmentRecord realignSeries(const Volume<float>& shift, const SeriesSettings& settings,
                                const std::string& file, Progress& progress, SeriesInput& input);

/// What the user should know of it: volumes that were refused become a warning of `record`, the
/// rest `notes`. The record's realignment is set.
void tellOfRealignment(const SeriesInput& input, SeriesRecord& record, std::vector<Remark>& notes);

/// The motion of every volume as ITK text, which readSeriesMotion reads to the same bits.
std::string motionText(const SeriesInput& input);

/// The text of the .bvec beside a corrected series in whose volumes the head moved: `table`, that
/// of the series, with its directions turned with the head (directionsInHead).
/// @param motionFile  that motionText was written to
/// Errors  those of nifti::Reader, nifti::readDirections and readItkTransforms; Error for a motion
///         of another number of volumes.
std::string turnedDirections(const std::string& table, const std::string& series,
                             const std::string& motionFile);

}  // namespace mirel
