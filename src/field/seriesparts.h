#pragma once

#include <cstdint>
#include <string>

#include "field/series.h"

/// What work on any series needs, volume by volume.
namespace mirel {

/// Sets voxels that are not finite to 0; their number.
std::int64_t replaceNonFinite(Volume<float>& volume);

/// The average of volumes that come one after the other, added up in double in their order.
class MeanOfVolumes {
 public:
  /// Further volumes than `wantedVolumes` do not count.
  MeanOfVolumes(glm::ivec3 dims, int wantedVolumes) : sum(dims, 0.0), wanted(wantedVolumes) {}

  void add(const Volume<float>& volume);
  Volume<float> value() const;

 private:
  Volume<double> sum;
  int wanted;
  int count = 0;
};

/// Sentences about values of the image `in` that were not finite, or that the data type read or the
/// one written (of the report's header) changed, added to the report by its counts.
/// Errors  Error where no value at all is finite.
void tellOfValues(const std::string& in, nifti::DataType typeRead, SeriesReport& report);

}  // namespace mirel
