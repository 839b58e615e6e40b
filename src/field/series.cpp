#include "field/series.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <stdexcept>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "base/outputfile.h"
#include "base/samefile.h"
#include "field/belowzero.h"
#include "field/inorder.h"
#include "field/seriesparts.h"
#include "nifti/finite.h"
#include "nifti/image.h"

namespace mirel {

namespace {

int wantedForMean(int asked, int volumes) { return asked > 0 ? std::min(asked, volumes) : volumes; }

void checkInputs(const std::string& in, const nifti::Header& header, const Volume<float>& shift,
                 const SeriesOptions& options, const std::string& out) {
  if (options.axis < 0 || options.axis > 2) throw std::logic_error("an axis is 0, 1 or 2");
  if (shift.dimensions() != header.dims)
    throw Error(
        in, "has " + text(header.dims) + " voxels, but its map has " + text(shift.dimensions()));
  if (header.dims[options.axis] < 2)
    throw Error(in,
                "has one voxel along its phase-encoding axis: there is nothing to "
                "correct");
  if (!std::all_of(shift.data(), shift.data() + shift.size(),
                   [](float v) { return std::isfinite(v); }))
    throw Error("the map for " + in + " has voxels that are NaN or infinite");
  if (!options.toVolume.empty() &&
      options.toVolume.size() != static_cast<std::size_t>(header.volumes))
    throw std::logic_error("there are as many motions as volumes");
  refuseOverwrite(out, in);
}

/// The work on one series.
class Work {
 public:
  Work(nifti::Reader& from, nifti::Writer& to, const nifti::Header& written, const Corrector& how,
       const MovedCorrector* moved, const SeriesOptions& what)
      : reader(from),
        writer(to),
        raises(reachesBelowZero(written)),
        corrector(how),
        movedCorrector(moved),
        options(what),
        volumes(what.volumes.empty() ? from.header().volumes
                                     : static_cast<int>(what.volumes.size())),
        before(from.header().dims, wantedForMean(what.meanVolumes, volumes)),
        after(before) {}

  void run() {
    inOrder<Buffers>(
        volumes, options.threads,
        [&](int t, Buffers& buffers) {
          buffers.volume = volumeAt(t);
          reader.readVolume(buffers.volume, buffers.in);
        },
        [&](Buffers& buffers) { compute(buffers); },
        [&](int t, const Buffers& buffers) { put(t, buffers); });
  }

  void report(SeriesReport& result) const {
    result.volumes = volumes;
    result.nonFinite = nonFinite;
    result.clamped = clamped;
    result.clampedBelow = clampedBelow;
    result.rounding = reader.roundingLoss();
    result.meanBefore = before.value();
    result.meanAfter = after.value();
  }

 private:
  struct Buffers {
    int volume = 0;
    Volume<float> in, out, raised;
    Corrector::Scratch scratch;
    MovedCorrector::Scratch movedScratch;
    nifti::EncodedVolume encoded;
    std::int64_t nonFinite = 0;
  };

  int volumeAt(int t) const {
    return options.volumes.empty() ? t : options.volumes[static_cast<std::size_t>(t)];
  }

  void compute(Buffers& buffers) const {
    buffers.nonFinite = replaceNonFinite(buffers.in);
    const bool isRaised = raises && !holdsBelowZero(buffers.in);
    correct(buffers);
    nifti::requireFinite(buffers.out, writer.fileName());
    if (!isRaised || !holdsBelowZero(buffers.out))
      return writer.encode(buffers.out, buffers.encoded);
    buffers.raised = buffers.out;  // the mean is that of what was computed
    raiseToZero(buffers.raised);
    writer.encode(buffers.raised, buffers.encoded);
  }

  // Types that do not clamp such values, and count them, where they are encoded.
  static bool reachesBelowZero(const nifti::Header& header) {
    return !nameOf(header.type).starts_with("uint") || header.inter < 0 || header.slope < 0;
  }

  void correct(Buffers& buffers) const {
    const float background = static_cast<float>(options.background);
    if (background != 0.0f) buffers.in -= background;
    resample(buffers);
    if (background == 0.0f) return;
    buffers.in += background;
    buffers.out += background;
  }

  void resample(Buffers& buffers) const {
    if (movedCorrector != nullptr) {
      const glm::dmat4& m = options.toVolume[static_cast<std::size_t>(buffers.volume)];
      if (m != glm::dmat4(1.0))
        return movedCorrector->correct(buffers.in, m, buffers.out, buffers.movedScratch);
    }
    corrector.correct(buffers.in, buffers.out, buffers.scratch);
  }

  void put(int t, const Buffers& buffers) {
    nonFinite += buffers.nonFinite;
    clamped += static_cast<std::int64_t>(buffers.encoded.clamped.above);
    clampedBelow += static_cast<std::int64_t>(buffers.encoded.clamped.below);
    before.add(buffers.in);
    after.add(buffers.out);
    writer.write(buffers.encoded);
    if (options.done) options.done(static_cast<double>(t + 1) / volumes);
  }

  nifti::Reader& reader;
  nifti::Writer& writer;
  const bool raises;  ///< what falls below 0 of volumes that do not (belowzero.h)
  const Corrector& corrector;
  const MovedCorrector* movedCorrector;  ///< null: nothing moved
  const SeriesOptions& options;
  const int volumes;

  std::int64_t nonFinite = 0;
  std::int64_t clamped = 0, clampedBelow = 0;
  MeanOfVolumes before, after;
};

std::string foldedSentence(const std::string& in, std::int64_t count) {
  return "the map folds at " + counted(count, "voxel") + " of each volume of " + in +
         ": no signal belongs there, and 0 is written";
}

Volume<float> meanOf(const std::string& in, const std::vector<int>& volumes,
                     std::int64_t* nonFinite) {
  nifti::Reader reader(in);
  MeanOfVolumes mean(reader.header().dims, static_cast<int>(volumes.size()));
  Volume<float> volume;
  for (const int t : volumes) {
    reader.readVolume(t, volume);
    const std::int64_t replaced = replaceNonFinite(volume);
    if (nonFinite != nullptr) *nonFinite += replaced;
    mean.add(volume);
  }
  return mean.value();
}

}  // namespace

SeriesReport correctSeries(const std::string& in, const Volume<float>& shift,
                           const SeriesOptions& options, const std::string& out) {
  nifti::Reader reader(in);
  checkInputs(in, reader.header(), shift, options, out);
  SeriesReport report;
  report.header = reader.header();
  if (options.floatOutput) {
    report.header.type = nifti::DataType::float32;
    report.header.slope = 1;
    report.header.inter = 0;
  }
  if (!options.volumes.empty()) report.header.volumes = static_cast<int>(options.volumes.size());
  const Corrector corrector(shift, options.axis, options.modulation, options.interpolation);
  nifti::Writer writer(out, report.header);
  std::optional<MovedCorrector> moved;
  if (!options.toVolume.empty())
    moved.emplace(shift, options.axis, options.modulation, options.interpolation);
  Work work(reader, writer, report.header, corrector, moved ? &*moved : nullptr, options);
  work.run();
  work.report(report);
  report.folded = corrector.foldedVoxels();
  tellOfValues(in, reader.header().type, report);
  if (report.folded > 0 && options.modulation == Modulation::on)
    report.warnings.push_back(foldedSentence(in, report.folded));
  writer.finish();
  return report;
}

Volume<float> meanOfSeries(const std::string& in, int count, std::int64_t* nonFinite) {
  std::vector<int> volumes(
      static_cast<std::size_t>(wantedForMean(count, nifti::Reader(in).header().volumes)));
  std::iota(volumes.begin(), volumes.end(), 0);
  return meanOf(in, volumes, nonFinite);
}

Volume<float> meanOfVolumes(const std::string& in, const std::vector<int>& volumes) {
  return meanOf(in, volumes, nullptr);
}

}  // namespace mirel
