#include "jobs/correctpair.h"

#include <filesystem>
#include <fstream>

#include "base/error.h"
#include "base/outputfolder.h"
#include "bids/name.h"
#include "field/fieldhz.h"
#include "field/series.h"
#include "field/warp.h"
#include "jobs/records.h"
#include "jobs/seriesinput.h"
#include "nifti/image.h"
#include "nifti/orientation.h"
#include "numerics/fft/fftw.h"

namespace mirel {

namespace {

constexpr const char* imageEnd = ".nii.gz";
constexpr const char* descriptionFile = "dataset_description.json";

// The results' names without extension.
struct Names {
  std::string correctedA, correctedB, mean, voxels, mm, field, warpA, warpB;
  std::vector<std::string> series;
};

std::string correctedDescription(const InputImage& image) {
  if (image.header.volumes <= 1) return "corrected";
  if (image.options.meanOfFirst > 1)
    return "correctedMeanOf" + std::to_string(image.options.meanOfFirst);
  return "correctedVolume" + std::to_string(image.options.volume);
}

std::string warpDescription(const InputImage& image) {
  return image.header.volumes <= 1 ? "warp" : "warpVolume" + std::to_string(image.options.volume);
}

Names namesOf(const PairInput& pair, const std::vector<SeriesInput>& inputs) {
  const bids::Name a = bids::Name::of(pair.a.options.file);
  const bids::Name b = bids::Name::of(pair.b.options.file);
  const bids::Name common = bids::commonName(a, b);
  const std::string suffix = common.isStructured() ? "" : "epi";
  Names names;
  names.correctedA = derivedName(a, correctedDescription(pair.a));
  names.correctedB = derivedName(b, correctedDescription(pair.b));
  names.mean = derivedName(common, "correctedMean", suffix);
  names.voxels = derivedName(common, "voxels", "displacement");
  names.mm = derivedName(common, "mm", "displacement");
  if (pair.readoutSeconds) names.field = derivedName(common, "estimated", "fieldmap");
  names.warpA = derivedName(a, warpDescription(pair.a), "xfm");
  names.warpB = derivedName(b, warpDescription(pair.b), "xfm");
  for (const SeriesInput& input : inputs)
    names.series.push_back(derivedName(bids::Name::of(input.options.file), "corrected"));
  return names;
}

void gather(std::vector<std::string>& all, const std::vector<std::string>& more) {
  all.insert(all.end(), more.begin(), more.end());
}

std::vector<std::string> inputFiles(const PairInput& pair, const std::vector<SeriesInput>& inputs) {
  std::vector<std::string> files = {pair.a.options.file, pair.b.options.file};
  gather(files, pair.a.sidecarFiles);
  gather(files, pair.b.sidecarFiles);
  for (const SeriesInput& input : inputs) {
    files.push_back(input.options.file);
    gather(files, input.sidecarFiles);
    gather(files, input.gradientFiles);
  }
  return files;
}

void announceAll(OutputFolder& folder, const Names& names, const std::vector<SeriesInput>& inputs,
                 const std::vector<std::string>& files) {
  const auto announce = [&](const std::string& name) {
    if (name.empty()) return;
    folder.announce(name + imageEnd, files);
    folder.announce(name + ".json", files);
  };
  for (const std::string* name : {&names.correctedA, &names.correctedB, &names.mean, &names.voxels,
                                  &names.mm, &names.field, &names.warpA, &names.warpB})
    announce(*name);
  for (std::size_t s = 0; s < inputs.size(); ++s) {
    announce(names.series[s]);
    for (const std::string& gradients : inputs[s].gradientFiles)
      folder.announce(names.series[s] + std::filesystem::path(gradients).extension().string(),
                      files);
  }
  if (!folder.isThere(descriptionFile)) folder.announce(descriptionFile, files);
}

// Writes the results of the pair, each with its sidecar.
class PairWriter {
 public:
  PairWriter(OutputFolder& where, const CorrectionOptions& options, const CorrectionReport& report,
             const Progress& tell)
      : folder(where),
        progress(tell),
        pair(report.pair),
        record(recordOf(options, report.pair, report.estimate)),
        header(nifti::floatMapLike(report.pair.a.header)) {
    header.description = "Mirel " + options.version;
    sources = {pair.a.options.file, pair.b.options.file};
  }

  void image(const std::string& name, const Volume<float>& volume, const std::string& description,
             const std::string& units = {}, const Json& more = Json::object()) {
    nifti::Writer writer(folder.path(name + imageEnd), header);
    writer.write(volume);
    writer.finish();
    sidecar(name, description, units, more);
  }

  void warp(const std::string& name, const Volume<float>& shift, const std::string& source,
            const RigidMotion& motion) {
    writeWarpLps(shift, header, pair.axis(), folder.path(name + imageEnd), motion);
    sidecar(name,
            "Displacement field that takes the distortion out of " + source +
                ": the vector at a voxel, in mm with x to the left, y to the back and z upwards, "
                "leads from the voxel to the place in the distorted image where its value is",
            "mm", Json::object());
  }

  const Json& pairRecord() const { return record; }

 private:
  void sidecar(const std::string& name, const std::string& description, const std::string& units,
               const Json& more) {
    folder.writeText(name + ".json", sidecarText(description, units, sources, record, more));
    progress("Writing", ++written / 8.0);
  }

  OutputFolder& folder;
  const Progress& progress;
  int written = 0;
  const PairInput& pair;
  Json record;
  nifti::Header header;
  std::vector<std::string> sources;
};

void writePair(PairWriter& writer, const Names& names, const CorrectionReport& report) {
  const PairInput& pair = report.pair;
  const PairEstimate& estimate = report.estimate;
  const std::string axis = bids::nameOf({pair.axis(), 1});
  writer.image(names.correctedA, estimate.correctedA,
               pair.a.title() + ", corrected for distortion");
  writer.image(names.correctedB, estimate.correctedB,
               pair.b.title() + ", corrected for distortion");
  writer.image(names.mean, estimate.mean, "Mean of the corrected pair");
  const std::string meaning = "Displacement d along the voxel axis " + axis +
                              ", towards greater indices: true(y) = I(y + d) for " +
                              pair.a.title() + ", I(y - d) for " + pair.b.title();
  writer.image(names.voxels, estimate.shift, meaning, "voxels");
  const double size = nifti::columnLengths(pair.a.header.affine())[pair.axis()];
  writer.image(names.mm, estimate.shift * static_cast<float>(size), meaning, "mm");
  if (!names.field.empty()) {
    const FieldHz field = fieldFromShift(estimate.shift, gridOf(pair.a.header), pair.a.direction,
                                         *pair.readoutSeconds, names.field);
    writer.image(names.field, field.hz,
                 "Off-resonance field f: true(y) = I(y + f T) for an image with the "
                 "PhaseEncodingDirection " +
                     axis + " and the TotalReadoutTime T, I(y - f T) for " + axis +
                     "-, y in voxels",
                 "Hz");
  }
  writer.warp(names.warpA, estimate.shift, pair.a.title(), {});
  writer.warp(names.warpB, estimate.shift * -1.0f, pair.b.title(),
              estimate.motion.value_or(RigidMotion{}));
}

void copyGradients(OutputFolder& folder, const std::string& name,
                   const std::vector<std::string>& files) {
  for (const std::string& file : files) {
    const std::string target = name + std::filesystem::path(file).extension().string();
    std::ifstream is(file, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(is)), std::istreambuf_iterator<char>());
    if (!is) throw Error(file + " cannot be read");
    folder.writeText(target, text);
  }
}

void writeAll(OutputFolder& folder, const Names& names, const CorrectionOptions& options,
              const std::vector<SeriesInput>& inputs, CorrectionReport& report,
              const Progress& progress) {
  progress("Writing", 0.0);
  folder.open();
  PairWriter writer(folder, options, report, progress);
  writePair(writer, names, report);
  for (std::size_t s = 0; s < inputs.size(); ++s) {
    SeriesOutcome outcome = correctOneSeries(inputs[s], report, options,
                                             folder.path(names.series[s] + imageEnd), progress);
    outcome.result.output = names.series[s] + imageEnd;
    gather(report.notes, outcome.notes);
    gather(report.warnings, outcome.warnings);
    Json record = writer.pairRecord();
    record["Options"]["FloatOutput"] = options.floatOutput;
    record["Series"] = recordOf(outcome.result);
    if (!outcome.warnings.empty()) record["Series"]["Warnings"] = outcome.warnings;
    folder.writeText(names.series[s] + ".json",
                     sidecarText(inputs[s].options.file + ", corrected for distortion", "",
                                 {inputs[s].options.file, options.a.file, options.b.file}, record,
                                 inputs[s].keptFields));
    copyGradients(folder, names.series[s], inputs[s].gradientFiles);
    report.series.push_back(std::move(outcome.result));
  }
  if (!folder.isThere(descriptionFile))
    folder.writeText(descriptionFile, datasetDescription(options.version));
  progress("Finishing", 1.0);
  report.outputs = folder.commit();
}

}  // namespace

CorrectionReport correctAll(const CorrectionOptions& options, const Progress& progress) {
  bindEngine();
  CorrectionReport report;
  OutputFolder folder(options.outputFolder);
  progress("Reading", 0.0);
  report.pair = readPair(options.a, options.b);
  std::vector<SeriesInput> inputs;
  for (const ImageOptions& series : options.series)
    inputs.push_back(readSeriesInput(series, report.pair));
  const Names names = namesOf(report.pair, inputs);
  announceAll(folder, names, inputs, inputFiles(report.pair, inputs));
  report.notes = report.pair.notes;
  report.warnings = report.pair.warnings;
  progress("Reading", 1.0);
  report.estimate = estimatePairMap(report.pair, options.estimate, progress);
  gather(report.warnings, report.estimate.warnings);
  if (report.estimate.motion)
    report.notes.push_back(
        "the map and the field hold the distortion with the head where it was in " +
        report.pair.a.title() + "; of " + report.pair.b.title() +
        " its motion was undone as well, and its warp does the same");
  try {
    writeAll(folder, names, options, inputs, report, progress);
  } catch (const Error& error) {
    throw Error(folder.plain(error.what()));
  }
  return report;
}

}  // namespace mirel
