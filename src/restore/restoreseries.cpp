#include "restore/restoreseries.h"

#include <algorithm>
#include <stdexcept>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/samefile.h"
#include "field/inorder.h"
#include "field/seriesparts.h"
#include "nifti/finite.h"
#include "nifti/image.h"
#include "restore/weightmeasurement.h"

namespace mirel {

namespace {

constexpr int sampledPairs = 5;

// A series that is read: its voxels finite, its background taken off.
class Source {
 public:
  explicit Source(const SeriesToJoin& what)
      : reader(what.file), background(static_cast<float>(what.background)) {
    const nifti::Header& header = reader.header();
    if (what.shift.dimensions() != header.dims)
      throw Error(what.file, "has " + text(header.dims) + " voxels, but its map has " +
                                 text(what.shift.dimensions()));
  }

  void read(int t, Volume<float>& volume) { reader.readVolume(t, volume); }
  const nifti::Header& header() const { return reader.header(); }
  nifti::RoundingLoss roundingLoss() const { return reader.roundingLoss(); }

  // The number of voxels that were replaced; `anyBelowZero` is set where the file has such values.
  std::int64_t prepare(Volume<float>& volume, bool& anyBelowZero) const {
    const std::int64_t replaced = replaceNonFinite(volume);
    anyBelowZero = anyBelowZero || volume.min() < 0.0f;
    if (background != 0.0f) volume -= background;
    return replaced;
  }
  float added() const { return background; }

 private:
  nifti::Reader reader;
  float background;
};

RestoreWeights measure(const SeriesToJoin& first, const SeriesToJoin& second,
                       const std::vector<VolumePair>& pairs, int axis) {
  Source one(first), other(second);
  WeightMeasurement measurement(first.shift, second.shift, axis);
  const int all = static_cast<int>(pairs.size()), count = std::min(all, sampledPairs);
  Volume<float> a, b;
  for (int n = 0; n < count; ++n) {
    const VolumePair& pair =
        pairs[static_cast<std::size_t>(count > 1 ? n * (all - 1) / (count - 1) : 0)];
    one.read(pair.first, a);
    other.read(pair.second, b);
    bool ignored = false;
    one.prepare(a, ignored);
    other.prepare(b, ignored);
    measurement.add(a, b);
  }
  return measurement.weights();
}

}  // namespace

}  // namespace mirel
