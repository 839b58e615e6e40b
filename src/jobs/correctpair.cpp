#include "jobs/correctpair.h"

#include <memory>

#include "base/error.h"
#include "base/numbertext.h"
#include "bids/inheritance.h"
#include "field/belowzero.h"
#include "jobs/earlierresults.h"
#include "jobs/pairoutputs.h"
#include "jobs/pairremarks.h"
#include "jobs/recordjson.h"
#include "jobs/reportfile.h"
#include "jobs/seriesjoining.h"
#include "jobs/sourcenames.h"
#include "jobs/startingfield.h"
#include "jobs/unknownreadout.h"
#include "numerics/fft/fftw.h"
#include "pair/imagegroups.h"
#include "pair/pairmask.h"
#include "pair/tablepair.h"

namespace mirel {

namespace {

std::vector<std::string> filesOf(const PairInput& pair) {
  std::vector<std::string> files;
  for (const InputImage* image : {&pair.a, &pair.b}) {
    files.push_back(image->options.file);
    files.insert(files.end(), image->options.more.begin(), image->options.more.end());
    for (const std::string& sidecar : image->acquisition.sidecarFiles()) files.push_back(sidecar);
    if (!image->options.given.table.empty()) files.push_back(image->options.given.table);
  }
  if (pair.across)
    for (const std::string& file : filesOf(*pair.across)) files.push_back(file);
  return files;
}

std::vector<std::string> allInputs(const PairInput& pair,
                                   const std::optional<DistortionFile>& start,
                                   const std::vector<std::string>& seriesFiles) {
  std::vector<std::string> inputs = filesOf(pair);
  if (pair.mask) inputs.push_back(pair.mask->stamp.fileName());
  if (start)
    for (const std::string& file : start->files()) inputs.push_back(file);
  inputs.insert(inputs.end(), seriesFiles.begin(), seriesFiles.end());
  return inputs;
}

void announcePair(const PairInput& pair, const std::vector<std::string>& inputs,
                  const PairNames& names, const EarlierResults& earlier, OutputFolder& folder) {
  const std::vector<ResultInput> madeOf = resultInputsOf(pair);
  for (const std::string& name : names.all()) {
    for (const std::string& file : filesNamed(name)) folder.announce(file, inputs);
    earlier.refuseOthers(name, filesNamed(name), madeOf);
  }
}

// The pair, and one along another axis if there are images of it.
PairInput readGroups(const CorrectPairOptions& options) {
  const ImageGroups groups = groupImages({options.a, options.b}, options.more);
  PairInput pair = readPair(groups.pair.a, groups.pair.b);
  if (!groups.across) return pair;
  const std::string& file = groups.across->a.file;
  if (options.estimate.estimator == Estimator::search)
    throw Error(file, "is encoded along another axis, which the search does not take into account");
  if (!pair.readoutSeconds)
    throw Error(pair.a.options.file,
                "has no known readout time, without which " + file + " tells nothing about it");
  pair.across = std::make_shared<PairInput>(readPair(groups.across->a, groups.across->b));
  return pair;
}

PairInput readPairOf(const CorrectPairOptions& options) {
  if (options.acquisitionTable.empty()) return readGroups(options);
  const TablePair stated = pairByTable(options.a, options.b, options.acquisitionTable);
  PairInput pair = readPair(stated.a, stated.b);
  pair.notes.insert(pair.notes.begin(), stated.notes.begin(), stated.notes.end());
  pair.warnings.insert(pair.warnings.begin(), stated.warnings.begin(), stated.warnings.end());
  return pair;
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

// Of two images that are one the deviation would be 0, which is the opposite of what is known.
void withdrawDeviation(PairNames& names, const PairInput& pair, const PairEstimate& estimate,
                       OutputFolder& folder, RunRecord& run) {
  if (names.deviation.empty() || estimate.deviation) return;
  for (const std::string& file : filesNamed(names.deviation)) folder.withdraw(file);
  names.deviation.clear();
  run.warnings.push_back("no uncertainty is written: " + pair.a.title() + " and " + pair.b.title() +
                         " show the same, which tells nothing of how far the map may be off");
}

// Of all that a run of the pair makes with one option or the other.
ResultStems stemsOf(const PairInput& pair, const CorrectPairOptions& options) {
  EstimateSettings settings = options.estimate;
  PairResults results = options.results;
  settings.uncertainty = results.headMask = true;
  return {{{PairNames::fieldOf(pair, results), "the field in Hz"},
           {PairNames::cubicMeanOf(pair, results), "the mean by cubic splines"}},
          PairNames::of(pair, settings, results).all()};
}

EarlierResults::Others othersOf(const CorrectPairOptions& options) {
  return options.overwrite ? EarlierResults::Others::replaced : EarlierResults::Others::kept;
}

// What a run reads before it computes.
struct Inputs {
  PairInput pair;
  std::optional<DistortionFile> start;
  std::vector<SeriesInput> series;
};

Inputs readInputs(const CorrectPairOptions& options) {
  Inputs inputs{readPairOf(options), {}, {}};
  PairInput& pair = inputs.pair;
  if (!options.maskFile.empty()) readMask(options.maskFile, pair);
  if (!options.startingField.empty()) inputs.start = readStartingField(options.startingField, pair);
  pair.startIsPrior = options.startIsPrior;
  pair.startIsMap = options.estimate.estimator == Estimator::none;
  for (const SeriesFile& file : options.series) inputs.series.push_back(readSeriesOf(pair, file));
  if (pair.readoutSeconds) return inputs;
  doubtUnknownReadout(pair.a.options.file + " and " + pair.b.options.file,
                      {Advice::Kind::giveReadout, Advice::Of::both}, inputs.series);
  // So that nothing is told in Hz of a map in voxels.
  for (SeriesInput& input : inputs.series) input.acquisition.readout.reset();
  return inputs;
}

// The series of a run: those that are joined, and those that are corrected alone.
struct SeriesParts {
  std::optional<SeriesJoining> joining;
  SeriesCorrection correction;

  SeriesParts(std::vector<SeriesInput>&& series, bool join, const SeriesSettings& settings,
              OutputFolder& folder)
      : correction(settings, folder) {
    if (join) joining.emplace(planJoining(series), settings, folder);
    for (SeriesInput& input : series) {
      SeriesNames names = SeriesNames::inFolder(input, settings);
      correction.add(std::move(input), std::move(names));
    }
  }

  std::vector<std::string> inputFiles() const {
    std::vector<std::string> files = correction.inputFiles();
    if (joining)
      for (const std::string& file : joining->inputFiles()) files.push_back(file);
    return files;
  }
};

// The page, announced in the folder; nothing when there is to be none.
std::optional<ReportFile> announcePage(const CorrectPairOptions& options, const PairInput& pair,
                                       const std::vector<std::string>& inputs,
                                       const SourceNames& sources, OutputFolder& folder) {
  if (!options.report) return std::nullopt;
  ReportFile page(folder, sources, resultInputsOf(pair),
                  options.reportStem.empty() ? PairNames::reportStemOf(pair) : options.reportStem,
                  othersOf(options));
  if (!options.reportStem.empty()) page.useOwnName();
  page.announce(folder, inputs);
  return page;
}

// After all that is found of them. The mean stays: series are aligned with it, here and from its
// file.
void raiseImagesToZero(const PairInput& pair, PairEstimate& estimate) {
  if (!holdsBelowZero(pair.a.image)) raiseToZero(estimate.correctedA);
  if (!holdsBelowZero(pair.b.image)) raiseToZero(estimate.correctedB);
}

// The record keeps what is known without the voxels.
PairRecord recordOf(const Inputs& inputs, const CorrectPairOptions& options,
                    const PairEstimate& estimate) {
  const PairInput& pair = inputs.pair;
  // NOLINTNEXTLINE(cppcoreguidelines-slicing)
  PairRecord record{pair.a, pair.b, options.estimate, estimate};
  if (pair.mask) record.mask = pair.mask->stamp;
  if (inputs.start) record.start = recordOf(*inputs.start);
  record.startIsPrior = pair.startIsPrior;
  return record;
}

}  // namespace

RunRecord correctPair(const CorrectPairOptions& options, Progress& progress) {
  bindEngine();
  RunRecord run;
  run.version = options.version;
  run.seriesSettings = options.seriesSettings;
  run.seriesSettings.modulation = options.estimate.usedModulation();
  run.seriesSettings.interpolation = options.estimate.interpolation;
  OutputFolder folder(options.outputFolder);
  progress.at(Stage::reading, 0.0);
  Inputs read = readInputs(options);
  const PairInput& pair = read.pair;
  SeriesParts series(std::move(read.series), options.joinSeries, run.seriesSettings, folder);
  const std::vector<std::string> inputs = allInputs(pair, read.start, series.inputFiles());
  using Description = SourceNames::Description;
  const Description description =
      mayDescribe(options.outputFolder, inputs) ? Description::written : Description::kept;
  const SourceNames sources(options.outputFolder, inputs, description);
  const EarlierResults earlier(folder, sources, othersOf(options));
  PairNames names = PairNames::of(pair, options.estimate, options.results);
  announcePair(pair, inputs, names, earlier, folder);
  series.correction.announce(inputs, resultInputsOf(pair), earlier);
  if (series.joining) series.joining->announce(inputs, resultInputsOf(pair), earlier);
  if (description == Description::written) folder.announce(bids::descriptionFile, inputs);
  std::optional<ReportFile> page = announcePage(options, pair, inputs, sources, folder);
  if (page) run.warnings = options.report->check(pair.a.options.file, pair.a.header);
  progress.at(Stage::reading, 1.0);

  AcrossFindings across;
  PairEstimate estimate = pair.across ? estimateWithAcross(pair, options.estimate, progress, across)
                                      : estimatePairMap(pair, options.estimate, progress);
  if (read.start) doubtStartingField(*read.start, read.pair, estimate.verdict);
  addRemarks(run, pair, estimate);
  withdrawDeviation(names, pair, estimate, folder, run);
  run.notes.insert(run.notes.end(), across.notes.begin(), across.notes.end());
  run.warnings.insert(run.warnings.end(), across.warnings.begin(), across.warnings.end());
  addAgreement(run, pair, estimate, options.startingField);
  addFieldFound(run, pair, estimate);
  if (series.joining) addMotionDoubt(run, pair, estimate);
  run.pair = recordOf(read, options, estimate);
  // NOLINTNEXTLINE(cppcoreguidelines-slicing)
  if (pair.across) run.pair->across = {pair.across->a, pair.across->b, across};
  raiseImagesToZero(pair, estimate);
  progress.at(Stage::writing, 0.0);
  run.outputs = folder.write([&] {
    writePair(names, pair, estimate, run, sources, folder, progress);
    if (options.report) options.report->showPair(pair, estimate);
    const Reference reference{
        {estimate.meanToCompare(), pair.a.header.affine(), "the corrected pair"},
        "the pair's directions are"};
    const Distortion distortion = distortionOf(pair, estimate);
    if (series.joining)
      series.joining->run(distortion, reference, sources, options.report, run, progress);
    series.correction.run(distortion, reference, sources, options.report, run, progress);
    if (description == Description::written)
      folder.writeText(bids::descriptionFile, datasetDescription(options.version, sources.links()));
    earlier.settle(resultInputsOf(pair), stemsOf(pair, options), originOf(run), folder, run);
    if (page) page->write(*options.report, run, folder);
    progress.at(Stage::finishing, 1.0);
  });
  return run;
}

}  // namespace mirel
