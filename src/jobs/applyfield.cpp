#include "jobs/applyfield.h"

#include <filesystem>

#include "base/error.h"
#include "base/numbertext.h"
#include "bids/name.h"
#include "field/series.h"
#include "jobs/distortionfile.h"
#include "jobs/recordjson.h"
#include "jobs/reportfile.h"
#include "jobs/resultnames.h"
#include "jobs/seriescorrection.h"
#include "jobs/sourcenames.h"
#include "nifti/filename.h"
#include "nifti/image.h"
#include "numerics/fft/fftw.h"
#include "numerics/spikes.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;

// Where the results go: a folder, or one image under a name of its own.
struct Place {
  std::string folder;
  std::string image;  ///< without folder; empty: names as derived
};

Place placeOf(const ApplyFieldOptions& options) {
  const fs::path output(options.output);
  if (!nifti::hasNiftiName(options.output) || fs::is_directory(output)) return {options.output, ""};
  if (options.series.size() != 1)
    throw Error(options.output, "is the name of one image, but " +
                                    std::to_string(options.series.size()) +
                                    " series are to be corrected: name a folder");
  const fs::path folder = output.parent_path();
  return {folder.empty() ? "." : folder.string(), output.filename().string()};
}

DistortionFile readSource(const ApplyFieldOptions& options, RunRecord& run) {
  const bool asMap = !options.mapFile.empty();
  DistortionFile file = readDistortionFile(asMap ? options.mapFile : options.fieldFile,
                                           asMap ? TakenFor::map : TakenFor::field, options.unit);
  run.source = recordOf(file);
  return file;
}

void doubtUses(const DistortionFile& file, std::vector<SeriesInput>& series) {
  for (SeriesInput& input : series) doubtUse({{file.file, file.sidecar}}, file.file, input);
}

// What corrects the series, which are read and held against it.
Distortion readAll(const ApplyFieldOptions& options, DistortionFile& file,
                   std::vector<SeriesInput>& series) {
  if (!file.isField()) {
    for (const SeriesFile& each : options.series) series.push_back(readSeriesForMap(each, file));
    doubtUses(file, series);
    return settleMap(file, options.map, series);
  }
  FieldHz field = fieldOf(file);
  for (const SeriesFile& each : options.series) series.push_back(readSeries(each, field));
  doubtUses(file, series);
  return Distortion(std::move(field));
}

std::optional<Reference> readReference(const ApplyFieldOptions& options, const std::string& source,
                                       RunRecord& run) {
  if (options.reference.empty()) return std::nullopt;
  const nifti::Reader image(options.reference);
  std::int64_t nonFinite = 0;
  Volume<float> mean = meanOfSeries(options.reference, 0, &nonFinite);
  if (nonFinite > 0)
    run.warnings.push_back(options.reference + " has " +
                           counted(nonFinite, "NaN or infinite value") +
                           (nonFinite == 1 ? ", which counts as 0" : ", which count as 0"));
  return Reference{{withoutSpikes(std::move(mean)), image.header().affine(), options.reference},
                   "the sign of " + source + " is"};
}

// What the page of the run is made of: all series, and what corrects them.
std::vector<ResultInput> madeOf(const ApplyFieldOptions& options, const std::string& source) {
  std::vector<ResultInput> inputs = {{source}};
  for (const SeriesFile& series : options.series) inputs.push_back({series.file});
  return inputs;
}

ReportFile reportFileOf(const ApplyFieldOptions& options, const std::string& source,
                        const Place& place, const OutputFolder& folder, const SourceNames& names,
                        EarlierResults::Others others) {
  std::string stem = options.reportStem;
  if (stem.empty())
    stem = place.image.empty() ? correctedName(bids::Name::of(options.series.front().file))
                               : nifti::niftiStem(place.image);
  ReportFile file(folder, names, madeOf(options, source), stem, others);
  if (!place.image.empty() || !options.reportStem.empty()) file.useOwnName();
  return file;
}

ResultStems stemsBeside(const ApplyFieldOptions& options) {
  ResultStems stems;
  if (options.removeOldMotion)
    for (const SeriesFile& series : options.series)
      stems.leaving.push_back({motionName(bids::Name::of(series.file)), "the motion"});
  return stems;
}

}  // namespace

RunRecord applyField(const ApplyFieldOptions& options, Progress& progress) {
  bindEngine();
  RunRecord run;
  run.version = options.version;
  run.seriesSettings = options.seriesSettings;
  const Place place = placeOf(options);
  OutputFolder folder(place.folder);
  DistortionFile source = readSource(options, run);
  std::vector<SeriesInput> read;
  const Distortion distortion = readAll(options, source, read);
  run.notes = source.notes;
  run.warnings = options.doubts;
  run.warnings.insert(run.warnings.end(), source.warnings.begin(), source.warnings.end());
  const std::optional<Reference> reference = readReference(options, source.file, run);

  for (const SeriesInput& input : read)
    if (options.report)
      for (const Remark& doubt : options.report->check(input.file, input.header))
        run.warnings.push_back(doubt);
  SeriesCorrection series(options.seriesSettings, folder);
  const SeriesSettings& settings = options.seriesSettings;
  for (SeriesInput& input : read) {
    SeriesNames names = place.image.empty() ? SeriesNames::inFolder(input, settings)
                                            : SeriesNames::asImage(input, place.image, settings);
    series.add(std::move(input), std::move(names));
  }
  std::vector<std::string> inputs = series.inputFiles();
  for (const std::string& file : source.files()) inputs.push_back(file);
  if (!options.reference.empty()) inputs.push_back(options.reference);
  const SourceNames sources(place.folder, inputs, SourceNames::Description::kept);
  const auto others =
      options.overwrite ? EarlierResults::Others::replaced : EarlierResults::Others::kept;
  const EarlierResults earlier(folder, sources, others);
  series.announce(inputs, {{run.source->file}}, earlier);

  std::optional<ReportFile> page;
  if (options.report) {
    page = reportFileOf(options, source.file, place, folder, sources, others);
    page->announce(folder, inputs);
  }

  progress.at(Stage::writing, 0.0);
  run.outputs = folder.write([&] {
    series.run(distortion, reference, sources, options.report, run, progress);
    earlier.settle({}, stemsBeside(options), originOf(run), folder, run);
    if (page) page->write(*options.report, run, folder);
    progress.at(Stage::finishing, 1.0);
  });
  return run;
}

}  // namespace mirel
