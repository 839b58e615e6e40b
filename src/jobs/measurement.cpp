#include "jobs/measurement.h"

#include <cmath>
#include <filesystem>

#include "base/error.h"
#include "base/isoneof.h"
#include "base/numbertext.h"
#include "bids/inheritance.h"
#include "bids/name.h"
#include "jobs/distortionfile.h"
#include "jobs/recordjson.h"
#include "nifti/image.h"
#include "phase/echotimes.h"

namespace mirel {

namespace {

Json inputJson(const FileStamp& stamp, const std::optional<bids::Sidecar>& sidecar) {
  Json json = fileJson(stamp);
  if (sidecar) addSidecars(json, sidecar->stamps());
  return json;
}

void addFiles(Measurement& measurement, const std::string& file,
              const std::optional<bids::Sidecar>& sidecar) {
  measurement.files.push_back(file);
  if (!sidecar) return;
  const std::vector<std::string>& names = sidecar->fileNames();
  measurement.files.insert(measurement.files.end(), names.begin(), names.end());
}

Volume<float> readMagnitude(const MeasureFieldOptions& options, Measurement& measurement,
                            MeasuredFieldRun& run) {
  std::string file = options.magnitudeFile;
  if (file.empty()) {
    file = magnitudeBeside(measurement.name);
    run.notes.emplace_back(file.empty() ? "without a magnitude the head is found by the values "
                                          "alone"
                                        : "the magnitude is " + file);
    if (file.empty()) return {};
  }
  const FileStamp stamp(file);
  nifti::Reader image(file);
  if (image.header().volumes != 1)
    throw Error(file, "has " + std::to_string(image.header().volumes) +
                          " volumes: the magnitude of one echo has one");
  voxelToVoxel(image.header().affine(), image.header().affine(), file);
  if (!coincide(gridOf(image.header()), gridOf(measurement.header)))
    throw Error(file, "has another grid than " + measurement.name);
  Volume<float> magnitude = image.readVolume(0);
  measurement.origin["Magnitude"] = fileJson(stamp);
  measurement.files.push_back(file);
  return magnitude;
}

void addPhase(const PhaseFile& phase, Measurement& measurement, MeasuredFieldRun& run) {
  Json json = inputJson(phase.stamp, phase.sidecar);
  json["PhaseScale"] = phase.scale.name;
  json["PhaseScaleSource"] = phase.scale.sourceText();
  measurement.origin["Phases"].push_back(std::move(json));
  addFiles(measurement, phase.file, phase.sidecar);
  run.notes.emplace_back(phase.scaleNote());
  if (phase.filled > 0) run.notes.emplace_back(phase.fillNote());
}

void addEchoTimes(const EchoTimes& times, Measurement& measurement, MeasuredFieldRun& run) {
  measurement.origin["EchoTimes"] = {times.first, times.second};
  measurement.origin["EchoTimesSource"] = times.source;
  run.notes.emplace_back("the phase grew between the echoes at " + text(1000 * times.first) +
                         " and " + text(1000 * times.second) + " ms (" + times.source +
                         "): a whole turn is " + text("%.1f", 1 / std::abs(times.difference())) +
                         " Hz");
}

void refuseOneEcho(const PhaseFile& phase) {
  const std::string suffix = bids::Name::of(phase.file).suffix;
  if (isOneOf(suffix, {"phase1", "phase2"}))
    throw Error(phase.file, "is the phase of one echo by its name; a field takes both, " + suffix +
                                " and " + (suffix == "phase1" ? "phase2" : "phase1"));
}

void fromPhases(const MeasureFieldOptions& options, Measurement& measurement,
                MeasuredFieldRun& run) {
  const bool isDifference = options.phaseFiles.size() == 1;
  const PhaseFile first = readPhaseFile(options.phaseFiles.front());
  if (isDifference) refuseOneEcho(first);
  measurement.header = first.header;
  measurement.name = first.file;
  addPhase(first, measurement, run);
  std::optional<PhaseFile> second;
  if (!isDifference) {
    second = readPhaseFile(options.phaseFiles.at(1));
    addPhase(*second, measurement, run);
  }
  const EchoTimes times =
      options.echoSeconds ? givenEchoTimes(options.echoSeconds->first, options.echoSeconds->second)
      : isDifference      ? echoTimesOfDifference(first)
                          : echoTimesOf(first, *second);
  addEchoTimes(times, measurement, run);
  const Volume<float> phase = isDifference ? first.radians : phaseDifference(first, *second);
  const Volume<float> magnitude = readMagnitude(options, measurement, run);
  measurement.field = fieldOfPhase(phase, magnitude, first.header.voxelSizeMm, times.difference(),
                                   measurement.name);
  run.notes.emplace_back("the turns are chosen so that the median in the head, " +
                         text("%.1f", measurement.field.medianHz) + " Hz, is nearest to 0");
}

void fromField(const MeasureFieldOptions& options, Measurement& measurement,
               MeasuredFieldRun& run) {
  DistortionFile file = readDistortionFile(options.fieldFile, TakenFor::field, options.unit);
  if (!file.isField())
    throw Error(options.fieldFile,
                "is a displacement map in " + nameOf(file.unit.value) + ", not a field");
  measurement.header = *file.header;
  measurement.name = options.fieldFile;
  addFiles(measurement, options.fieldFile, file.sidecar);
  Json json = inputJson(file.stamp, file.sidecar);
  json["Units"] = nameOf(file.unit.value);
  json["UnitsSource"] = file.unit.sourceText();
  measurement.origin["Field"] = std::move(json);
  run.notes = file.notes;
  run.warnings = file.warnings;
  const Volume<float> magnitude = readMagnitude(options, measurement, run);
  measurement.field = fieldOfHertz(fieldOf(std::move(file)).hz, magnitude,
                                   measurement.header.voxelSizeMm, measurement.name);
}

}  // namespace

std::string magnitudeBeside(const std::string& image) {
  const bids::Name name = bids::Name::of(image);
  if (!name.isStructured()) return {};
  const std::filesystem::path folder = std::filesystem::path(image).parent_path();
  for (const char* suffix : {"magnitude1", "magnitude"})
    for (const char* extension : {".nii.gz", ".nii"}) {
      bids::Name beside = name;
      beside.suffix = suffix;
      if (const auto file = folder / (beside.text() + extension); std::filesystem::exists(file))
        return file.string();
    }
  return {};
}

Measurement readMeasurement(const MeasureFieldOptions& options, MeasuredFieldRun& run) {
  Measurement measurement;
  if (options.phaseFiles.empty())
    fromField(options, measurement, run);
  else
    fromPhases(options, measurement, run);
  return measurement;
}

}  // namespace mirel
