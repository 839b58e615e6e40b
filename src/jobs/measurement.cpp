#include "jobs/measurement.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "base/error.h"
#include "base/isoneof.h"
#include "base/joined.h"
#include "base/numbertext.h"
#include "bids/inheritance.h"
#include "bids/name.h"
#include "jobs/distortionfile.h"
#include "jobs/recordjson.h"
#include "nifti/image.h"
#include "phase/complexparts.h"
#include "phase/echotimes.h"

namespace mirel {

namespace {

// Of the way from one turn to the next: half of it is undecided.
constexpr double mostOfTurn = 0.4;

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
  std::vector<std::string> milliseconds;
  double shortest = std::abs(times.difference());
  for (std::size_t echo = 0; echo < times.seconds.size(); ++echo) {
    measurement.origin["EchoTimes"].push_back(times.seconds[echo]);
    milliseconds.push_back(text(1000 * times.seconds[echo]));
    if (echo > 0) shortest = std::min(shortest, std::abs(times.difference(echo)));
  }
  measurement.origin["EchoTimesSource"] = times.source;
  run.notes.emplace_back("the phase grew between the echoes at " + joined(milliseconds, " and ") +
                         " ms (" + times.source + "): a whole turn is " +
                         text("%.1f", 1 / shortest) + " Hz");
}

void refuseOneEcho(const PhaseFile& phase) {
  const std::string suffix = bids::Name::of(phase.file).suffix;
  if (isOneOf(suffix, {"phase1", "phase2"}))
    throw Error(phase.file, "is the phase of one echo by its name; a field takes both, " + suffix +
                                " and " + (suffix == "phase1" ? "phase2" : "phase1"));
}

// By the sidecars of the phases; nothing where they do not tell.
std::optional<EchoTimes> statedTimes(const std::vector<PhaseFile>& phases) try {
  return phases.size() == 1 ? echoTimesOfDifference(phases.front()) : echoTimesOf(phases);
} catch (const Error&) {
  return std::nullopt;
}

// Times of the command line that are not those of the sidecars.
void doubtGivenTimes(const EchoTimes& times, const std::vector<PhaseFile>& phases,
                     MeasuredFieldRun& run) {
  const std::optional<EchoTimes> stated = statedTimes(phases);
  if (!stated) return;
  for (std::size_t n = 0; n < times.seconds.size(); ++n) {
    const double said = times.seconds[n], stands = stated->seconds.at(n);
    if (std::abs(said - stands) <= 0.01 * stands) continue;
    run.warnings.emplace_back("the echo time of " + text(said) + " s given for echo " +
                              std::to_string(n + 1) + " is not that of the sidecars (" +
                              stated->source + "), " + text(stands) + " s");
  }
}

EchoTimes timesOf(const std::vector<PhaseFile>& phases, const MeasureFieldOptions& options) {
  const std::size_t given = options.echoSeconds.size(),
                    echoes = std::max<std::size_t>(phases.size(), 2);
  if (given == 0)
    return phases.size() == 1 ? echoTimesOfDifference(phases.front()) : echoTimesOf(phases);
  if (given != echoes)
    throw Error(counted(given, "echo time") + (given == 1 ? " is" : " are") + " given for " +
                std::to_string(echoes) + " echoes");
  return givenEchoTimes(options.echoSeconds);
}

std::vector<PhaseFile> readPhases(const MeasureFieldOptions& options, Measurement& measurement,
                                  MeasuredFieldRun& run) {
  std::vector<PhaseFile> phases;
  for (const std::string& file : options.phaseFiles) {
    phases.push_back(readPhaseFile(file));
    if (options.phaseFiles.size() == 1) refuseOneEcho(phases.back());
    addPhase(phases.back(), measurement, run);
  }
  return phases;
}

void refuseTwice(const std::vector<std::string>& files) {
  for (auto file = files.begin(); file != files.end(); ++file)
    if (std::find(files.begin(), file, *file) != file)
      throw Error(*file, "is given for two echoes");
}

void tellOf(const ComplexParts& parts, MeasuredFieldRun& run) {
  run.notes.emplace_back(parts.note());
  if (parts.notFinite > 0) run.warnings.emplace_back(parts.warning());
}

void addParts(const ComplexParts& parts, Measurement& measurement, MeasuredFieldRun& run) {
  Json json = inputJson(parts.phase.stamp, parts.phase.sidecar);
  json["ImaginaryPart"] = fileJson(parts.imaginaryStamp);
  measurement.origin["Phases"].push_back(std::move(json));
  addFiles(measurement, parts.phase.file, parts.phase.sidecar);
  measurement.files.push_back(parts.imaginaryFile);
  tellOf(parts, run);
}

// Leaves the magnitude of the first echo in `magnitude`.
std::vector<PhaseFile> readParts(const MeasureFieldOptions& options, Volume<float>& magnitude,
                                 Measurement& measurement, MeasuredFieldRun& run) {
  const std::vector<std::string>&reals = options.realFiles, &given = options.imaginaryFiles;
  if (!given.empty() && given.size() != reals.size())
    throw Error(counted(given.size(), "imaginary part") + (given.size() == 1 ? " is" : " are") +
                " given for " + counted(reals.size(), "real one"));
  if (reals.size() < 2)
    throw Error(reals.front(), "is of one echo; a field takes the parts of two or more");
  refuseTwice(reals);
  refuseTwice(given);
  std::vector<PhaseFile> phases;
  for (std::size_t n = 0; n < reals.size(); ++n) {
    ComplexParts parts =
        readComplexParts(reals[n], given.empty() ? imaginaryBeside(reals[n]) : given[n]);
    addParts(parts, measurement, run);
    phases.push_back(std::move(parts.phase));
    if (n == 0) magnitude = std::move(parts.magnitude);
  }
  return phases;
}

// Leaves the magnitude of the first echo in `magnitude`.
std::vector<PhaseFile> readComplex(const MeasureFieldOptions& options, Volume<float>& magnitude,
                                   Measurement& measurement, MeasuredFieldRun& run) {
  refuseTwice(options.complexFiles);
  std::vector<PhaseFile> phases;
  for (const std::string& file : options.complexFiles) {
    std::vector<ComplexParts> echoes = readComplexImage(file);
    const PhaseFile& first = echoes.front().phase;
    Json json = inputJson(first.stamp, first.sidecar);
    json["ComplexEchoes"] = first.echoesInFile;
    measurement.origin["Phases"].push_back(std::move(json));
    addFiles(measurement, file, first.sidecar);
    for (ComplexParts& echo : echoes) {
      tellOf(echo, run);
      if (phases.empty()) magnitude = std::move(echo.magnitude);
      phases.push_back(std::move(echo.phase));
    }
  }
  if (phases.size() < 2)
    throw Error(options.complexFiles.front(), "is of one echo; a field takes two or more");
  return phases;
}

std::vector<PhaseFile> readEchoes(const MeasureFieldOptions& options, Volume<float>& magnitude,
                                  Measurement& measurement, MeasuredFieldRun& run) {
  if (!options.complexFiles.empty()) return readComplex(options, magnitude, measurement, run);
  return options.realFiles.empty() ? readPhases(options, measurement, run)
                                   : readParts(options, magnitude, measurement, run);
}

// A median halfway between two turns tells neither: the whole field may be a turn off.
void doubtTurns(double medianHz, double turnHz, MeasuredFieldRun& run) {
  if (!(std::abs(medianHz) > mostOfTurn * turnHz)) return;
  const double other = medianHz > 0 ? medianHz - turnHz : medianHz + turnHz;
  run.warnings.emplace_back(
      "the median in the head could as well be " + text("%.1f", other) + " Hz as " +
      text("%.1f", medianHz) + " Hz: the field may be off everywhere by a turn, " +
      text("%.1f", turnHz) + " Hz (is one of the echoes stored with the opposite sign?)");
}

void fromPhases(const MeasureFieldOptions& options, Measurement& measurement,
                MeasuredFieldRun& run) {
  const bool isDifference = options.phaseFiles.size() == 1;
  Volume<float> magnitude;
  const std::vector<PhaseFile> phases = readEchoes(options, magnitude, measurement, run);
  const PhaseFile& first = phases.front();
  measurement.header = first.header;
  measurement.name = first.file;
  const EchoTimes times = timesOf(phases, options);
  if (!options.echoSeconds.empty()) doubtGivenTimes(times, phases, run);
  addEchoTimes(times, measurement, run);
  std::vector<EchoPhase> echoes;
  if (isDifference) echoes.push_back({first.radians, times.difference()});
  for (std::size_t n = 1; n < phases.size(); ++n)
    echoes.push_back({phaseDifference(first, phases[n]), times.difference(n)});
  if (magnitude.size() == 0 || !options.magnitudeFile.empty())
    magnitude = readMagnitude(options, measurement, run);
  double shortest = std::abs(echoes.front().seconds);
  for (const EchoPhase& echo : echoes) shortest = std::min(shortest, std::abs(echo.seconds));
  measurement.field =
      fieldOfEchoes(std::move(echoes), magnitude, first.header.voxelSizeMm, measurement.name);
  run.notes.emplace_back("the turns are chosen so that the median in the head, " +
                         text("%.1f", measurement.field.medianHz) + " Hz, is nearest to 0");
  doubtTurns(measurement.field.medianHz, 1 / shortest, run);
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
  if (!options.fieldFile.empty())
    fromField(options, measurement, run);
  else
    fromPhases(options, measurement, run);
  return measurement;
}

}  // namespace mirel
