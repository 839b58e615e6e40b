#include "jobs/seriesinput.h"

#include <filesystem>

#include "base/error.h"
#include "base/numbertext.h"
#include "bids/inheritance.h"
#include "field/fieldhz.h"
#include "field/series.h"
#include "nifti/filename.h"
#include "nifti/image.h"
#include "pair/foreground.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;

constexpr double largestPartOff = 0.01;

// What describes the acquisition and stays true of the corrected images.
constexpr const char* keptNames[] = {"RepetitionTime", "EchoTime", "FlipAngle",
                                     "SliceTiming",    "TaskName", "MagneticFieldStrength",
                                     "Manufacturer",   "Modality"};

void readAcquisition(SeriesInput& input, const PairInput& pair) {
  const ImageOptions& options = input.options;
  const std::optional<bids::Sidecar> sidecar = readSidecars(input);
  if (!options.direction.empty()) {
    input.direction = bids::parsePhaseEncoding(options.direction, "--apply-pe");
    input.directionSource = "option";
  } else if (sidecar) {
    const auto direction = sidecar->phaseEncoding();
    if (!direction)
      throw Error(sidecar->title() + " has no PhaseEncodingDirection; give it with --apply-pe");
    input.direction = *direction;
    input.directionSource = sidecar->phaseEncodingFile();
  } else {
    input.direction = pair.a.direction;
    input.directionSource = "assumed";
    input.notes.push_back(options.file +
                          " has no sidecar: its phase encoding is taken to be that of " +
                          pair.a.options.file + ", " + nameOf(input.direction));
  }
  if (!pair.readoutSeconds) return;
  if (options.readoutSeconds > 0) {
    bids::checkReadout(options.readoutSeconds, "the readout time given for " + options.file);
    input.readout = bids::Readout{options.readoutSeconds, bids::ReadoutSource::option};
  } else if (sidecar) {
    input.readout = sidecar->readout(input.header.dims[input.direction.axis]);
    if (!input.readout)
      throw Error(sidecar->title() +
                  " has neither TotalReadoutTime nor EffectiveEchoSpacing; give the total "
                  "readout time in seconds with --apply-readout");
  } else {
    input.readout = pair.a.readout;
    input.notes.push_back(options.file +
                          " has no sidecar: its readout time is taken to be that of " +
                          pair.a.options.file);
  }
  if (!input.readout->contradiction.empty()) input.warnings.push_back(input.readout->contradiction);
}

bool hasOrientation(const nifti::Header& header) {
  return header.sformCode > 0 || header.qformCode > 0;
}

std::string sourceOf(const SeriesInput& input) {
  if (input.directionSource == "option") return "the direction given for " + input.options.file;
  if (input.sidecarFiles.empty()) return "the direction assumed for " + input.options.file;
  return input.directionSource;
}

}  // namespace

std::optional<bids::Sidecar> readSidecars(SeriesInput& input) {
  std::optional<bids::Sidecar> sidecar =
      bids::findSidecar(input.options.file, input.options.sidecar);
  if (!sidecar) return sidecar;
  input.sidecarFiles = sidecar->fileNames();
  for (const char* name : keptNames)
    if (sidecar->json().contains(name)) input.keptFields[name] = sidecar->json()[name];
  return sidecar;
}

std::vector<std::string> gradientFilesOf(const std::string& imageFile) {
  const std::string stem = nifti::niftiStem(imageFile);
  std::vector<std::string> files;
  std::error_code ignored;
  for (const char* end : {".bvec", ".bval"})
    if (fs::is_regular_file(stem + end, ignored)) files.push_back(stem + end);
  return files;
}

void requireCommonPlace(const nifti::Header& header, const std::string& file, const Grid& fieldGrid,
                        const std::string& fieldName) {
  const Grid grid = gridOf(header);
  voxelToVoxel(fieldGrid.affine, grid.affine, file);
  if (coverage(grid, fieldGrid, fieldName).max() == 0.0f)
    throw Error(file + " and " + fieldName +
                " have no place in common by their orientations: are they of one session?");
}

std::string headOffField(const Volume<float>& mean, const nifti::Header& header,
                         const std::string& file, const Grid& fieldGrid,
                         const std::string& fieldName) {
  const Volume<float> covered = coverage(gridOf(header), fieldGrid, fieldName);
  const double threshold = headThreshold(mean);
  double head = 0, off = 0;
  for (int n = 0; n < mean.size(); ++n) {
    if (!(static_cast<double>(mean.data()[n]) > threshold)) continue;
    head += 1;
    off += covered.data()[n] == 0.0f;
  }
  if (!(off > largestPartOff * head)) return {};
  return text("%.0f %%", 100 * (off / head)) + " of the head in " + file +
         " lies off the grid of " + fieldName + ": there the field at the nearest border is taken";
}

SeriesInput readSeriesInput(const ImageOptions& options, const PairInput& pair) {
  SeriesInput input;
  input.options = options;
  input.header = nifti::Reader(options.file).header();
  input.sameGrid = coincide(gridOf(input.header), gridOf(pair.a.header));
  readAcquisition(input, pair);
  input.gradientFiles = gradientFilesOf(options.file);
  if (!pair.readoutSeconds && !input.sameGrid)
    throw Error(options.file + " has another grid than " + pair.a.options.file +
                ": its correction needs the readout times of all images, from sidecars or "
                "options");
  if (!pair.readoutSeconds && input.direction.axis != pair.axis())
    throw Error(options.file + " is phase encoded along another axis than " + pair.a.options.file +
                ": its correction needs the readout times of all images, from sidecars or "
                "options");
  if (input.sameGrid) return input;
  requireCommonPlace(input.header, options.file, gridOf(pair.a.header), pair.a.options.file);
  if (!hasOrientation(input.header) || !hasOrientation(pair.a.header))
    input.warnings.push_back((hasOrientation(input.header) ? pair.a.options : options).file +
                             " has no orientation: how the grids of " + options.file + " and " +
                             pair.a.options.file + " lie to each other is a guess");
  return input;
}

SeriesOutcome correctOneSeries(const SeriesInput& input, const CorrectionReport& report,
                               const CorrectionOptions& options, const std::string& output,
                               const Progress& progress) {
  const PairInput& pair = report.pair;
  const std::string stage = "Correcting " + fs::path(input.options.file).filename().string();
  progress(stage, 0.0);
  // Without readout times all images are taken to have the same one, whatever it is.
  const FieldHz field =
      fieldFromShift(report.estimate.shift, gridOf(pair.a.header), pair.a.direction,
                     pair.readoutSeconds.value_or(1.0), "the estimated field");
  const double readout = pair.readoutSeconds ? input.readout->seconds : 1.0;
  const Volume<float> shift = shiftVoxels(field, input.header, input.direction, readout);

  SeriesOptions seriesOptions;
  seriesOptions.axis = input.direction.axis;
  seriesOptions.modulation = options.estimate.modulation;
  seriesOptions.floatOutput = options.floatOutput;
  seriesOptions.threads = options.threads;
  seriesOptions.progress = [&](int done, int total) {
    progress(stage, static_cast<double>(done) / total);
  };
  const SeriesReport corrected = correctSeries(input.options.file, shift, seriesOptions, output);

  SeriesOutcome outcome;
  outcome.notes = input.notes;
  outcome.warnings = input.warnings;
  outcome.warnings.insert(outcome.warnings.end(), corrected.warnings.begin(),
                          corrected.warnings.end());
  if (!input.sameGrid)
    if (const std::string doubt =
            headOffField(corrected.meanBefore, input.header, input.options.file,
                         gridOf(pair.a.header), pair.a.options.file);
        !doubt.empty())
      outcome.warnings.push_back(doubt);
  SeriesResult& result = outcome.result;
  result.file = input.options.file;
  result.sidecarFiles = input.sidecarFiles;
  result.direction = input.direction;
  result.directionSource = input.directionSource;
  result.readout = input.readout;
  result.volumes = corrected.volumes;
  result.resampledField = !input.sameGrid;
  const int axis = input.direction.axis;
  result.signs = compareSigns(
      correctVolume(corrected.meanBefore, shift, axis, options.estimate.modulation),
      correctVolume(corrected.meanBefore, shift * -1.0f, axis, options.estimate.modulation),
      input.header.affine(), {report.estimate.mean, pair.a.header.affine(), "the corrected pair"});
  if (result.signs.verdict == SignCheck::Verdict::opposite)
    outcome.warnings.push_back(
        "CHECK THE SIGN in " + sourceOf(input) + ": it says " + nameOf(input.direction) +
        ", but the series agrees better with the corrected pair when it is corrected as " +
        nameOf(input.direction.opposite()) + "; it or the pair's directions are wrong");
  if (result.signs.verdict == SignCheck::Verdict::undecided)
    outcome.notes.push_back("the sign of " + input.options.file +
                            " could not be checked: corrected one way or the other, it agrees "
                            "about as well with the corrected pair");
  return outcome;
}

}  // namespace mirel
