#include "jobs/applyfield.h"

#include <filesystem>

#include "base/error.h"
#include "field/series.h"
#include "jobs/recordjson.h"
#include "jobs/seriescorrection.h"
#include "jobs/sourcenames.h"
#include "nifti/filename.h"
#include "nifti/image.h"

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

Distortion distortionOf(const ApplyFieldOptions& options, RunRecord& run) {
  if (options.map) {
    run.source = SourceRecord{SourceRecord::Kind::map, options.map->file};
    return Distortion(
        GridShift{options.map->shift, {options.map->axis, 1}, std::nullopt, options.map->file});
  }
  run.source = SourceRecord{SourceRecord::Kind::field, options.fieldFile};
  FieldHz field = readField(options.fieldFile);
  if (field.nonFinite > 0)
    run.warnings.push_back(options.fieldFile + " has " + std::to_string(field.nonFinite) +
                           " NaN or infinite voxel(s), which count as 0 Hz");
  return Distortion(std::move(field));
}

std::optional<Reference> readReference(const ApplyFieldOptions& options) {
  if (options.reference.empty()) return std::nullopt;
  const nifti::Reader image(options.reference);
  return Reference{{meanOfSeries(options.reference), image.header().affine(), options.reference},
                   "the sign of " + options.fieldFile + " is"};
}

}  // namespace

RunRecord applyField(const ApplyFieldOptions& options, Progress& progress) {
  RunRecord run;
  run.version = options.version;
  run.seriesSettings = options.seriesSettings;
  const Place place = placeOf(options);
  OutputFolder folder(place.folder);
  const Distortion distortion = distortionOf(options, run);
  const std::optional<Reference> reference = readReference(options);

  SeriesCorrection series(options.seriesSettings, folder);
  const bool withWarp = options.seriesSettings.writeWarp;
  for (const SeriesFile& file : options.series) {
    SeriesInput input = readSeries(file, distortion);
    SeriesNames names = place.image.empty() ? SeriesNames::inFolder(input, withWarp)
                                            : SeriesNames::asImage(input, place.image, withWarp);
    series.add(std::move(input), std::move(names));
  }
  std::vector<std::string> inputs = series.inputFiles();
  inputs.push_back(run.source->file);
  if (!options.reference.empty()) inputs.push_back(options.reference);
  const SourceNames sources(place.folder, inputs, SourceNames::Description::kept);
  const EarlierResults earlier(
      folder, sources,
      options.overwrite ? EarlierResults::Others::replaced : EarlierResults::Others::kept);
  series.announce(inputs, {{run.source->file}}, earlier);

  progress.at(Stage::writing, 0.0);
  run.outputs = folder.write([&] {
    series.run(distortion, reference, sources, run, progress);
    earlier.settle({}, {}, originOf(run), folder, run);
    progress.at(Stage::finishing, 1.0);
  });
  return run;
}

}  // namespace mirel
