#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/progress.h"
#include "field/corrector.h"
#include "field/fieldhz.h"
#include "field/movedcorrector.h"
#include "nifti/header.h"
#include "nifti/samples.h"

/// Correction of whole image series, volume by volume.
namespace mirel {

struct SeriesOptions {
  int axis = 1;  ///< 0, 1, 2: the axis along which the map shifts (PhaseEncodingDirection::axis)
  Modulation modulation = Modulation::off;
  InterpolationKernel interpolation = InterpolationKernel::cubic;
  /// Intensity that was added to every voxel of the series, air included: it is taken off before
  /// the volumes are corrected and added again, so that it is not modulated.
  double background = 0;
  /// 32-bit floats without scaling, whatever the input has.
  bool floatOutput = false;
  /// 0: as many as there are cores. Never more than there are volumes.
  int threads = 0;
  /// The volumes to correct, counted from 0, in the order in which they are written; empty: all.
  std::vector<int> volumes;
  /// Where the head is in each volume of the file, by voxels of the result (see MovedCorrector).
  /// Where that is the identity the volume gets the bits of a head that did not move. Empty: it
  /// moved in none.
  std::vector<glm::dmat4> toVolume;
  /// The means are formed from the first so many volumes; 0: from all.
  int meanVolumes = 0;
  /// Told after each volume, in order, from any thread but never from two at a time. What it
  /// throws ends the work: nothing is written.
  ReportDone done;
};

struct SeriesReport {
  nifti::Header header;  ///< of what was written
  int volumes = 0;
  /// Input voxels that were NaN or infinite; they counted as 0.
  std::int64_t nonFinite = 0;
  /// Voxels where the map folds; with modulation they are 0.
  std::int64_t folded = 0;
  /// Voxels whose corrected value is beyond the largest, or the least, that the data type holds.
  std::int64_t clamped = 0, clampedBelow = 0;
  /// Input values that 32-bit floats, in which is computed, do not hold exactly.
  nifti::RoundingLoss rounding;
  /// Averages over the volumes before and after the correction (the latter before rounding and
  /// before values are raised to 0), added up in double in the order of the volumes.
  Volume<float> meanBefore;
  Volume<float> meanAfter;
  /// Sentences for the user, each naming the file.
  std::vector<std::string> warnings, notes;
};

/// Corrects every volume of the 3-D or 4-D image `in` through `shift` (its dimensions, voxels
/// along options.axis, applied forward) and writes the result to `out`: the header of the input
/// with its data type and scaling (integers rounded to the nearest and clamped), or floats. Values
/// below 0 of a volume that had none are written as 0 (belowzero.h).
///
/// Memory   that of one volume in and out per thread, however many volumes there are.
/// Threads  volumes are read and written in order, and computed and compressed side by side; the
///          bytes of the output and both means do not depend on their number.
/// Errors   Error, naming the file: see nifti::Reader and nifti::Writer; a map of other
///          dimensions or with voxels that are not finite; corrected values beyond the range of
///          32-bit floats; one voxel along the axis; `out` is
///          `in`; std::out_of_range for a volume that there is not; std::logic_error for another
///          number of motions than volumes. Nothing is left behind then.
SeriesReport correctSeries(const std::string& in, const Volume<float>& shift,
                           const SeriesOptions& options, const std::string& out);

/// The average of the first `count` volumes (0: of all) of an image, as in SeriesReport.
/// @param nonFinite  the values that were NaN or infinite, and counted as 0, are added to it.
Volume<float> meanOfSeries(const std::string& in, int count = 0, std::int64_t* nonFinite = nullptr);

/// The same of some volumes, counted from 0, in ascending order.
Volume<float> meanOfVolumes(const std::string& in, const std::vector<int>& volumes);

}  // namespace mirel
