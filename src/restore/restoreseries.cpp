#include "restore/restoreseries.h"

#include <algorithm>
#include <stdexcept>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "base/samefile.h"
#include "field/belowzero.h"
#include "field/inorder.h"
#include "field/seriesparts.h"
#include "nifti/finite.h"
#include "nifti/image.h"
#include "restore/contradiction.h"
#include "restore/weightmeasurement.h"

namespace mirel {

namespace {

constexpr int sampledPairs = 3;

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
    anyBelowZero = anyBelowZero || holdsBelowZero(volume);
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

class Work {
 public:
  Work(const SeriesToJoin& one, const SeriesToJoin& other, const std::vector<VolumePair>& which,
       const PairRestorer& how, const Contradiction& where, const JoinOptions& what,
       nifti::Writer& to)
      : first(one),
        second(other),
        pairs(which),
        restorer(how),
        contradiction(where),
        options(what),
        writer(to),
        added((first.added() + second.added()) / 2),
        before(first.header().dims, count()),
        ofSecond(before),
        after(before) {}

  void run(JoinReport& report) {
    inOrder<Buffers>(
        count(), options.threads,
        [&](int t, Buffers& buffers) {
          first.read(pairs[static_cast<std::size_t>(t)].first, buffers.first);
          second.read(pairs[static_cast<std::size_t>(t)].second, buffers.second);
        },
        [&](Buffers& buffers) { compute(buffers); },
        [&](int t, const Buffers& buffers) { put(t, buffers, report); });
    SeriesReport& series = report.series;
    series.volumes = count();
    series.meanBefore = before.value();
    series.meanAfter = after.value();
    report.meanOfSecond = ofSecond.value();
    series.rounding = first.roundingLoss();
    series.rounding.values += second.roundingLoss().values;
    series.rounding.beyond += second.roundingLoss().beyond;
    series.rounding.largest = std::max(series.rounding.largest, second.roundingLoss().largest);
  }

 private:
  struct Buffers {
    Volume<float> first, second, out;
    PairRestorer::Scratch scratch;
    Contradiction::Scratch ofMean;
    nifti::EncodedVolume encoded;
    std::int64_t nonFinite = 0, negative = 0, contradicted = 0;
    double residual = 0;
  };

  int count() const { return static_cast<int>(pairs.size()); }

  void compute(Buffers& buffers) const {
    bool anyBelowZero = false;
    buffers.nonFinite =
        first.prepare(buffers.first, anyBelowZero) + second.prepare(buffers.second, anyBelowZero);
    buffers.residual =
        restorer.restore(buffers.first, buffers.second, buffers.out, buffers.scratch);
    buffers.contradicted = contradiction.replaceWithMean(
        buffers.first, buffers.second, buffers.scratch.misfit, buffers.out, buffers.ofMean);
    if (added != 0.0f) buffers.out += added;
    buffers.first += first.added();
    buffers.second += second.added();
    buffers.negative = anyBelowZero ? 0 : raiseToZero(buffers.out);
    nifti::requireFinite(buffers.out, writer.fileName());
    writer.encode(buffers.out, buffers.encoded);
  }

  void put(int t, const Buffers& buffers, JoinReport& report) {
    SeriesReport& series = report.series;
    series.nonFinite += buffers.nonFinite;
    series.clamped += static_cast<std::int64_t>(buffers.encoded.clamped.above);
    series.clampedBelow += static_cast<std::int64_t>(buffers.encoded.clamped.below);
    report.negative += buffers.negative;
    report.residuals.push_back(buffers.residual);
    report.contradicted.push_back(buffers.contradicted);
    before.add(buffers.first);
    ofSecond.add(buffers.second);
    after.add(buffers.out);
    writer.write(buffers.encoded);
    if (options.done) options.done(static_cast<double>(t + 1) / count());
  }

  Source first, second;
  const std::vector<VolumePair>& pairs;
  const PairRestorer& restorer;
  const Contradiction& contradiction;
  const JoinOptions& options;
  nifti::Writer& writer;
  float added;
  MeanOfVolumes before, ofSecond, after;
};

void tellOfJoined(const std::string& both, nifti::DataType typeRead, JoinReport& report) {
  tellOfValues(both, typeRead, report.series);
  const auto most = std::max_element(report.contradicted.begin(), report.contradicted.end());
  if (most != report.contradicted.end() && *most > 0)
    report.series.notes.push_back("in up to " + counted(*most, "voxel") + " of a volume " + both +
                                  " differ by more than their noise where they show one place: "
                                  "the mean of both stands there");
  if (report.negative > 0)
    report.series.notes.push_back(
        counted(report.negative, "voxel") + " of " + both +
        ", joined, fell below 0 beside edges or in air, which no voxel of theirs does: 0 is "
        "written");
}

}  // namespace

JoinReport joinSeries(const SeriesToJoin& first, const SeriesToJoin& second,
                      const std::vector<VolumePair>& pairs, const JoinOptions& options,
                      const std::string& out) {
  if (pairs.empty()) throw std::invalid_argument("no volumes of two series are to be joined");
  refuseOverwrite(out, first.file);
  refuseOverwrite(out, second.file);
  JoinReport report;
  report.weights = measure(first, second, pairs, options.axis);
  const nifti::Header read = nifti::Reader(first.file).header();
  nifti::Header& header = report.series.header;
  header = read;
  header.volumes = static_cast<int>(pairs.size());
  if (options.floatOutput) {
    header.type = nifti::DataType::float32;
    header.slope = 1;
    header.inter = 0;
  }
  const PairRestorer restorer(first.shift, second.shift, options.axis, report.weights);
  nifti::Writer writer(out, header);
  const Contradiction contradiction(first.shift, second.shift, options.axis, report.weights);
  Work(first, second, pairs, restorer, contradiction, options, writer).run(report);
  tellOfJoined(first.file + " and " + second.file, read.type, report);
  writer.finish();
  return report;
}

}  // namespace mirel
