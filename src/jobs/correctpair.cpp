#include "jobs/correctpair.h"

#include "jobs/pairoutputs.h"
#include "jobs/seriescorrection.h"
#include "numerics/fft/fftw.h"

namespace mirel {

namespace {

constexpr const char* descriptionFile = "dataset_description.json";

std::vector<std::string> filesOf(const PairInput& pair) {
  std::vector<std::string> files;
  for (const InputImage* image : {&pair.a, &pair.b}) {
    files.push_back(image->options.file);
    for (const std::string& sidecar : image->acquisition.sidecarFiles()) files.push_back(sidecar);
  }
  return files;
}

void announceAll(const PairInput& pair, const PairNames& names, SeriesCorrection& series,
                 OutputFolder& folder) {
  std::vector<std::string> inputs = filesOf(pair);
  for (const std::string& file : series.inputFiles()) inputs.push_back(file);
  for (const std::string& file : names.files()) folder.announce(file, inputs);
  series.announce(inputs);
  if (!folder.isThere(descriptionFile)) folder.announce(descriptionFile, inputs);
}

// What corrects the series: a field, or without readout times the map itself.
Distortion distortionOf(const PairInput& pair, const PairEstimate& estimate) {
  const Grid grid = gridOf(pair.a.header);
  if (!pair.readoutSeconds)
    return Distortion(
        GridShift{estimate.shift, pair.a.direction(), grid.affine, pair.a.options.file});
  FieldHz field = fieldFromShift(estimate.shift, grid, pair.a.direction(), *pair.readoutSeconds,
                                 pair.a.options.file);
  field.isOriented = hasOrientation(pair.a.header);
  return Distortion(std::move(field));
}

void addRemarks(RunRecord& run, const PairInput& pair, const PairEstimate& estimate) {
  run.notes = pair.notes;
  run.warnings = pair.warnings;
  run.warnings.insert(run.warnings.end(), estimate.warnings.begin(), estimate.warnings.end());
  if (estimate.motion)
    run.notes.push_back("the map and the field hold the distortion with the head where it was in " +
                        pair.a.title() + "; of " + pair.b.title() +
                        " its motion was undone as well, and its warp does the same");
}

}  // namespace

RunRecord correctPair(const CorrectPairOptions& options, Progress& progress) {
  bindEngine();
  RunRecord run;
  run.version = options.version;
  run.seriesSettings = options.seriesSettings;
  run.seriesSettings.modulation = options.estimate.modulation;
  OutputFolder folder(options.outputFolder);
  progress.at(Stage::reading, 0.0);
  const PairInput pair = readPair(options.a, options.b);
  SeriesCorrection series(run.seriesSettings, folder);
  for (const SeriesFile& file : options.series) {
    SeriesInput input = readSeriesOf(pair, file);
    SeriesNames names = SeriesNames::inFolder(input, run.seriesSettings.writeWarp);
    series.add(std::move(input), std::move(names));
  }
  const PairNames names = PairNames::of(pair);
  announceAll(pair, names, series, folder);
  progress.at(Stage::reading, 1.0);

  const PairEstimate estimate = estimatePairMap(pair, options.estimate, progress);
  addRemarks(run, pair, estimate);
  // The record keeps what is known without the voxels.
  // NOLINTNEXTLINE(cppcoreguidelines-slicing)
  run.pair = PairRecord{pair.a, pair.b, options.estimate, estimate};
  progress.at(Stage::writing, 0.0);
  run.outputs = folder.write([&] {
    writePair(names, pair, estimate, run, folder, progress);
    const Reference reference{{estimate.mean, pair.a.header.affine(), "the corrected pair"},
                              "the pair's directions are"};
    series.run(distortionOf(pair, estimate), reference, {pair.a.options.file, pair.b.options.file},
               run, progress);
    if (!folder.isThere(descriptionFile))
      folder.writeText(descriptionFile, datasetDescription(options.version));
    progress.at(Stage::finishing, 1.0);
  });
  return run;
}

}  // namespace mirel
