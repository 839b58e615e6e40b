#include "jobs/applyfield.h"

#include <filesystem>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/outputfolder.h"
#include "bids/inheritance.h"
#include "bids/name.h"
#include "field/fieldhz.h"
#include "field/series.h"
#include "field/warp.h"
#include "jobs/checksum.h"
#include "jobs/records.h"
#include "jobs/seriesinput.h"
#include "nifti/filename.h"
#include "nifti/image.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;

struct Target {
  std::string name;  ///< without extension, in the output folder
  std::string imageEnd = ".nii.gz";
  std::string warp;  ///< the same for the displacement field; empty: none
};

void readAcquisition(SeriesInput& input, const std::optional<bids::Sidecar>& sidecar) {
  const ImageOptions& options = input.options;
  const auto missing = [&](const std::string& field, const std::string& option) {
    return Error((sidecar ? sidecar->title() + " has no " + field
                          : options.file + " has no sidecar " + bids::sidecarName(options.file) +
                                " with a " + field) +
                 "; give it with " + option);
  };
  const auto stated =
      sidecar && options.direction.empty() ? sidecar->phaseEncoding() : std::nullopt;
  if (options.direction.empty() && !stated) throw missing("PhaseEncodingDirection", "--pe");
  input.direction = stated ? *stated : bids::parsePhaseEncoding(options.direction, "--pe");
  input.directionSource = stated ? sidecar->phaseEncodingFile() : "option";
  if (options.readoutSeconds > 0) {
    bids::checkReadout(options.readoutSeconds, "the readout time given for " + options.file);
    input.readout = bids::Readout{options.readoutSeconds, bids::ReadoutSource::option};
  } else {
    if (sidecar) input.readout = sidecar->readout(input.header.dims[input.direction.axis]);
    if (!input.readout) throw missing("TotalReadoutTime and no EffectiveEchoSpacing", "--readout");
    if (!input.readout->contradiction.empty())
      input.warnings.push_back(input.readout->contradiction);
  }
}

void takeMap(SeriesInput& input, const GivenMap& map) {
  const glm::ivec3 dims = map.shift.dimensions(), own = input.header.dims;
  if (dims != own)
    throw Error(map.file + " is a map of " + text(dims) + " voxels, but " + input.options.file +
                " has " + text(own) +
                ": a field in Hz ('mirel field --from-map') fits images of any grid");
  input.direction = {map.axis, 1};
  input.directionSource = map.file;
}

SeriesInput readInput(const ImageOptions& options, const std::optional<GivenMap>& map) {
  SeriesInput input;
  input.options = options;
  input.header = nifti::Reader(options.file).header();
  const std::optional<bids::Sidecar> sidecar = readSidecars(input);
  if (map)
    takeMap(input, *map);
  else
    readAcquisition(input, sidecar);
  input.gradientFiles = gradientFilesOf(options.file);
  return input;
}

std::vector<Target> targetsOf(const ApplyFieldOptions& options, bool outputIsImage) {
  std::vector<Target> targets;
  for (const ImageOptions& series : options.series) {
    const bids::Name name = bids::Name::of(series.file);
    Target target;
    target.name = derivedName(name, "corrected");
    if (outputIsImage) {
      target.name = fs::path(nifti::niftiStem(options.output)).filename().string();
      target.imageEnd = options.output.substr(nifti::niftiStem(options.output).size());
    }
    if (options.writeWarp)
      target.warp = outputIsImage ? derivedName(bids::Name::of(target.name), "warp", "xfm")
                                  : derivedName(name, "warp", "xfm");
    targets.push_back(target);
  }
  return targets;
}

std::string gradientName(const Target& target, const std::string& gradients) {
  return target.name + fs::path(gradients).extension().string();
}

/// Everything that one run of the job has read and is about to write.
class Job {
 public:
  Job(const ApplyFieldOptions& what, const Progress& how)
      : options(what),
        progress(how),
        outputIsImage(nifti::hasNiftiName(what.output) && !fs::is_directory(what.output)),
        folder(outputIsImage ? folderOf(what.output) : what.output) {
    if (outputIsImage && options.series.size() != 1)
      throw Error(options.output + " is the name of one image, but " +
                  std::to_string(options.series.size()) +
                  " series are to be corrected: name a folder");
  }

  ApplyFieldReport run() {
    read();
    progress("Writing", 0.0);
    folder.open();
    try {
      for (std::size_t s = 0; s < inputs.size(); ++s) correctOne(inputs[s], targets[s]);
      progress("Finishing", 1.0);
      report.outputs = folder.commit();
    } catch (const Error& error) {
      throw Error(folder.plain(error.what()));
    }
    return std::move(report);
  }

 private:
  static std::string folderOf(const std::string& file) {
    const fs::path parent = fs::path(file).parent_path();
    return parent.empty() ? "." : parent.string();
  }

  void read() {
    if (!options.map) field = readField(options.fieldFile);
    if (field.nonFinite > 0)
      report.warnings.push_back(options.fieldFile + " has " + std::to_string(field.nonFinite) +
                                " NaN or infinite voxel(s), which count as 0 Hz");
    if (!options.reference.empty()) {
      nifti::Reader image(options.reference);
      reference = {meanOfSeries(options.reference), image.header().affine(), options.reference};
    }
    for (const ImageOptions& series : options.series) {
      inputs.push_back(readInput(series, options.map));
      SeriesInput& input = inputs.back();
      input.sameGrid = options.map || coincide(gridOf(input.header), fieldGrid());
      if (!input.sameGrid)
        requireCommonPlace(input.header, series.file, fieldGrid(), options.fieldFile);
    }
    targets = targetsOf(options, outputIsImage);
    announce();
  }

  void announce() {
    std::vector<std::string> files = {sourceFile()};
    if (!options.reference.empty()) files.push_back(options.reference);
    for (const SeriesInput& input : inputs) {
      files.push_back(input.options.file);
      files.insert(files.end(), input.sidecarFiles.begin(), input.sidecarFiles.end());
      files.insert(files.end(), input.gradientFiles.begin(), input.gradientFiles.end());
    }
    for (std::size_t s = 0; s < inputs.size(); ++s) {
      const Target& target = targets[s];
      folder.announce(target.name + target.imageEnd, files);
      folder.announce(target.name + ".json", files);
      for (const std::string& gradients : inputs[s].gradientFiles)
        folder.announce(gradientName(target, gradients), files);
      if (!target.warp.empty()) folder.announce(target.warp + ".nii.gz", files);
    }
  }

  void correctOne(const SeriesInput& input, const Target& target) {
    const std::string stage = "Correcting " + fs::path(input.options.file).filename().string();
    progress(stage, 0.0);
    const Volume<float> shift =
        options.map ? options.map->shift
                    : shiftVoxels(field, input.header, input.direction, input.readout->seconds);
    SeriesOptions how;
    how.axis = input.direction.axis;
    how.modulation = options.modulation;
    how.floatOutput = options.floatOutput;
    how.threads = options.threads;
    how.progress = [&](int done, int total) { progress(stage, static_cast<double>(done) / total); };
    const std::string image = target.name + target.imageEnd;
    const SeriesReport corrected =
        correctSeries(input.options.file, shift, how, folder.path(image));

    SeriesResult result;
    result.file = input.options.file;
    result.sidecarFiles = input.sidecarFiles;
    result.output = image;
    result.direction = input.direction;
    result.directionSource = input.directionSource;
    result.readout = input.readout;
    result.volumes = corrected.volumes;
    result.resampledField = !input.sameGrid;
    std::vector<std::string> warnings = input.warnings;
    warnings.insert(warnings.end(), corrected.warnings.begin(), corrected.warnings.end());
    if (result.resampledField)
      if (const std::string doubt = headOffField(corrected.meanBefore, input.header, result.file,
                                                 fieldGrid(), options.fieldFile);
          !doubt.empty())
        warnings.push_back(doubt);
    if (!options.reference.empty()) checkSign(input, shift, corrected.meanBefore, result, warnings);
    writeRest(input, target, shift, result, warnings);
    report.warnings.insert(report.warnings.end(), warnings.begin(), warnings.end());
    report.series.push_back(std::move(result));
  }

  void checkSign(const SeriesInput& input, const Volume<float>& shift, const Volume<float>& mean,
                 SeriesResult& result, std::vector<std::string>& warnings) const {
    const auto corrected = [&](const Volume<float>& map) {
      return correctVolume(mean, map, input.direction.axis, options.modulation);
    };
    result.signs =
        compareSigns(corrected(shift), corrected(-shift), input.header.affine(), reference);
    if (result.signs.verdict != SignCheck::Verdict::opposite) return;
    if (options.map)
      warnings.push_back("CHECK THE SIGN of " + options.map->file + ": with it " + result.file +
                         " agrees less with " + options.reference + " than with its negative");
    else
      warnings.push_back(
          "CHECK THE SIGN of " +
          (input.directionSource == "option" ? input.options.file : input.directionSource) +
          ": with " + nameOf(input.direction) + " the series agrees less with " +
          options.reference + " than with " + nameOf(input.direction.opposite()));
  }

  void writeRest(const SeriesInput& input, const Target& target, const Volume<float>& shift,
                 const SeriesResult& result, const std::vector<std::string>& warnings) {
    Json series = recordOf(result);
    if (options.reference.empty()) series.erase("SignCheck");
    if (!warnings.empty()) series["Warnings"] = warnings;
    if (options.map) {
      // A map says nothing about the polarity, only along which axis it shifts.
      series.erase("PhaseEncodingDirection");
      series.erase("PhaseEncodingDirectionSource");
      series.erase("FieldResampled");
      series["DisplacementAxis"] = nameOf(input.direction);
    }
    const Json record = {{"Version", options.version},
                         {options.map ? "Map" : "Field",
                          {{"File", sourceFile()}, {"SHA256", bids::sha256Of(sourceFile())}}},
                         {"Options",
                          {{"Modulation", options.modulation == Modulation::on},
                           {"FloatOutput", options.floatOutput}}},
                         {"Series", series}};
    folder.writeText(target.name + ".json",
                     sidecarText(input.options.file + ", corrected for distortion", "",
                                 {input.options.file, sourceFile()}, record, input.keptFields));
    for (const std::string& gradients : input.gradientFiles)
      fs::copy_file(gradients, folder.path(gradientName(target, gradients)));
    if (!target.warp.empty())
      writeWarpLps(shift, input.header, input.direction.axis, folder.path(target.warp + ".nii.gz"));
  }

  const std::string& sourceFile() const {
    return options.map ? options.map->file : options.fieldFile;
  }
  Grid fieldGrid() const { return {field.hz.dimensions(), field.affine}; }

  const ApplyFieldOptions& options;
  const Progress& progress;
  bool outputIsImage;
  OutputFolder folder;
  FieldHz field;
  PlacedImage reference;
  std::vector<SeriesInput> inputs;
  std::vector<Target> targets;
  ApplyFieldReport report;
};

}  // namespace

ApplyFieldReport applyField(const ApplyFieldOptions& options, const Progress& progress) {
  return Job(options, progress).run();
}

}  // namespace mirel
