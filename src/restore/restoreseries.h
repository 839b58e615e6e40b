#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "field/series.h"
#include "restore/gradientmatch.h"
#include "restore/pairrestorer.h"

/// Joining two whole series, volume by volume.
namespace mirel {

/// One of two series of one grid that one field distorted differently.
struct SeriesToJoin {
  std::string file;
  Volume<float> shift;    ///< voxels along the axis, applied forward (Corrector)
  double background = 0;  ///< that was added to every voxel (SeriesOptions::background)
};

struct JoinOptions {
  int axis = 1;
  bool floatOutput = false;  ///< 32-bit floats without scaling, in place of the first one's type
  int threads = 0;           ///< as in SeriesOptions
  ReportDone done;           ///< as in SeriesOptions
};

struct JoinReport {
  /// Of the joined series; its means are of the first one's volumes that were joined, and of the
  /// joined ones. Voxels that were not finite count for both series.
  SeriesReport series;
  Volume<float> meanOfSecond;  ///< of the second series' volumes that were joined
  RestoreWeights weights;
  /// Of each joined volume: what PairRestorer::restore tells.
  std::vector<double> residuals;
  /// Of each joined volume: what Contradiction::replaceWithMean tells.
  std::vector<std::int64_t> contradicted;
  /// Voxels of the joined volumes that fell below 0 where both images have no values below 0: they
  /// are written as 0.
  std::int64_t negative = 0;
};

/// Joins `pairs` of volumes of `first` and `second` (PairRestorer, Contradiction) and writes the
/// results to `out`, in their order: the header of the first series with its data type and scaling,
/// or floats. The weights are measured (WeightMeasurement) in up to three of the pairs, spread
/// evenly.
///
/// Memory, threads and errors are those of correctSeries, with about 200 bytes per voxel on top
/// (PairRestorer). std::invalid_argument where there are no pairs.
JoinReport joinSeries(const SeriesToJoin& first, const SeriesToJoin& second,
                      const std::vector<VolumePair>& pairs, const JoinOptions& options,
                      const std::string& out);

}  // namespace mirel
