#include "jobs/seriescorrection.h"

#include <algorithm>
#include <filesystem>

#include "bids/name.h"
#include "field/series.h"
#include "field/warp.h"
#include "jobs/checksum.h"
#include "jobs/resultnames.h"
#include "jobs/seriesmoved.h"
#include "jobs/seriesrealigned.h"
#include "nifti/filename.h"
#include "nifti/gradients.h"
#include "nifti/image.h"
#include "numerics/spikes.h"
#include "pair/background.h"
#include "pair/shiftdoubt.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;
using Source = bids::StatedDirection::Source;

constexpr std::size_t mostVolumesToAlign = 20;

SeriesNames namesFrom(const SeriesInput& input, const std::string& stem, const std::string& end) {
  SeriesNames names;
  names.image = stem + end;
  names.sidecar = stem + ".json";
  for (const FileStamp& file : input.gradientFiles)
    names.gradients.push_back(stem + fs::path(file.fileName()).extension().string());
  return names;
}

// Who says that the direction is what it is, for a sentence that doubts it.
std::string accusedOf(const SeriesInput& input) {
  const bids::StatedDirection& direction = *input.acquisition.direction;
  if (direction.source == Source::option) return "the direction given for " + input.file;
  if (direction.source == Source::assumed) return "the direction assumed for " + input.file;
  return direction.file;
}

void judge(const SeriesInput& input, const Reference& reference, SeriesRecord& record,
           std::vector<Remark>& notes) {
  const std::string& name = reference.image.name;
  const bids::StatedDirection& direction = *input.acquisition.direction;
  if (record.signs->verdict == SignCheck::Verdict::undecided)
    notes.push_back("the sign of " + input.file +
                    " could not be checked: corrected one way or the other, it agrees about as "
                    "well with " +
                    name);
  if (record.signs->verdict != SignCheck::Verdict::opposite) return;
  if (direction.source == Source::map)
    record.warnings.push_back("CHECK THE SIGN of " + direction.file + ": with it " + input.file +
                              " agrees less with " + name + " than with its negative");
  else
    record.warnings.push_back(
        "CHECK THE SIGN in " + accusedOf(input) + ": it says " + nameOf(direction.value) +
        ", but the series agrees better with " + name + " when it is corrected as " +
        nameOf(direction.value.opposite()) + "; it or " + reference.otherwiseWrong + " wrong");
}

void tellOfAlignment(const SeriesInput& input, const Reference& reference, SeriesRecord& record,
                     std::vector<Remark>& notes) {
  const AlignmentRecord& alignment = *record.alignment;
  const std::string place = ": the head is taken to be where the headers put it";
  if (alignment.outcome == AlignmentRecord::Outcome::refused)
    record.warnings.push_back("the motion of the head between " + reference.image.name + " and " +
                              input.file + " that was found is not credible, since " +
                              alignment.reason + place);
  if (alignment.outcome == AlignmentRecord::Outcome::notPossible)
    notes.push_back("the motion of the head between " + reference.image.name + " and " +
                    input.file + " could not be looked for, since " + alignment.reason + place);
}

SeriesRecord recordOf(const SeriesInput& input, const std::string& output,
                      const SeriesReport& corrected, const Distortion& distortion) {
  SeriesRecord record;
  record.file = input.file;
  record.output = output;
  record.acquisition = input.acquisition;
  record.gradientFiles = input.gradientFiles;
  record.volumes = corrected.volumes;
  record.chosenVolumes = input.volumes;
  record.resampledField = !input.onGridOfField;
  if (!distortion.isField()) {
    const bool turned = input.acquisition.direction->value != distortion.gridShift().direction;
    record.mapFactor = turned ? -input.mapScale : input.mapScale;
  }
  record.warnings = input.warnings;
  for (const std::string& warning : corrected.warnings) record.warnings.push_back(warning);
  if (!record.resampledField) return record;
  const std::string doubt =
      headOffField(corrected.meanBefore, input.header, input.file, distortion.field());
  if (!doubt.empty()) record.warnings.push_back(doubt);
  return record;
}

std::vector<glm::vec3> directionsOf(const SeriesInput& input, const std::string& table) {
  const std::vector<glm::vec3> read = nifti::readDirections(table, input.header.volumes);
  return input.motion ? directionsInHead(read, *input.motion, input.header.affine()) : read;
}

// What a gradient file says about the volumes that are corrected.
std::string gradientTextOf(const SeriesInput& input, const std::string& table) {
  const bool directions = table.ends_with(".bvec");
  nifti::GradientTable all;
  if (directions)
    all.directions = directionsOf(input, table);
  else
    all.bValues = nifti::readBValues(table, input.header.volumes);
  const nifti::GradientTable some =
      input.volumes.empty() ? all : nifti::gradientsOf(all, input.volumes);
  return directions ? nifti::formatDirections(some) : nifti::formatBValues(some);
}

}  // namespace

Volume<float> shiftOn(const Grid& grid, const SeriesInput& input, const Distortion& distortion) {
  const auto& readout = input.acquisition.readout;
  Volume<float> shift =
      distortion.shiftFor(grid, input.acquisition.direction->value,
                          readout ? std::optional(readout->seconds) : std::nullopt);
  if (input.mapScale != 1) shift *= static_cast<float>(input.mapScale);
  return shift;
}

double backgroundOf(const SeriesInput& input) {
  return addedBackground(withoutSpikes(nifti::Reader(input.file).readVolume(0)));
}

Volume<float> meanToAlign(const SeriesInput& input) {
  const std::vector<int> usable = likeVolumes(input);
  if (input.motion) return meanInPlace(input, usable, mostVolumesToAlign);
  std::vector<int> chosen;
  const std::size_t wanted = std::min(usable.size(), mostVolumesToAlign);
  for (std::size_t n = 0; n < wanted; ++n) chosen.push_back(usable[n * usable.size() / wanted]);
  return meanOfVolumes(input.file, chosen);
}

AlignmentRecord alignToReference(const SeriesInput& input, const Volume<float>& mean,
                                 const SeriesOptions& how, const Distortion& distortion,
                                 const Reference& reference, const RigidAligner& aligner) {
  UnalignedSeries series;
  series.mean = withoutSpikes(mean) - static_cast<float>(how.background);
  series.grid = gridOf(input.header);
  series.name = input.file;
  series.axis = how.axis;
  series.modulation = how.modulation;
  series.shiftOn = [&](const Grid& grid) { return shiftOn(grid, input, distortion); };
  AlignmentRecord found = alignSeries(aligner, series);
  if (!found.moved()) return found;
  // With the wrong sign the head seems to be where it is not. Where the headers put it the sign
  // that is given agrees better then only if it is the right one, or the motion is large.
  const auto through = [&](const Volume<float>& map) {
    return correctVolume(series.mean, map, how.axis, how.modulation);
  };
  const Volume<float> unmoved = series.shiftOn(series.grid);
  if (compareSigns(through(unmoved), through(-unmoved), series.grid.affine, reference.image)
          .verdict == SignCheck::Verdict::right)
    return found;
  series.shiftOn = [&](const Grid& grid) { return -shiftOn(grid, input, distortion); };
  const AlignmentRecord opposite = alignSeries(aligner, series);
  if (opposite.fit.nmi > found.fit.nmi) {
    found.outcome = AlignmentRecord::Outcome::refused;
    found.reason = "with the opposite sign of the field the images agree better";
  }
  return found;
}

void checkSigns(const SeriesInput& input, const Volume<float>& meanBefore,
                const Volume<float>& shift, const Grid& place, Modulation modulation,
                const Reference& reference, SeriesRecord& record, std::vector<Remark>& notes) {
  const Volume<float> mean = withoutSpikes(meanBefore) - static_cast<float>(record.background);
  const int axis = input.acquisition.direction->value.axis;
  const auto through = [&](const Volume<float>& map) {
    return correctVolume(mean, map, axis, modulation);
  };
  record.signs = compareSigns(through(shift), through(-shift), place.affine, reference.image);
  judge(input, reference, record, notes);
}

SeriesNames SeriesNames::inFolder(const SeriesInput& input, const SeriesSettings& settings) {
  const bids::Name name = bids::Name::of(input.file);
  const bool whole = input.volumes.empty();
  SeriesNames names = namesFrom(input, correctedName(name, whole ? "" : "Unmatched"), imageEnd);
  if (settings.writeWarp && whole) names.warp = warpName(name);
  if (settings.realign && whole) names.motion = motionName(name);
  return names;
}

SeriesNames SeriesNames::asImage(const SeriesInput& input, const std::string& image,
                                 const SeriesSettings& settings) {
  const std::string stem = nifti::niftiStem(image);
  SeriesNames names = namesFrom(input, stem, image.substr(stem.size()));
  if (settings.writeWarp) names.warp = warpName(bids::Name::ofStem(stem));
  if (settings.realign) names.motion = motionName(bids::Name::ofStem(stem));
  return names;
}

struct SeriesCorrection::Context {
  const Distortion& distortion;
  const std::optional<Reference>& reference;
  const RigidAligner* aligner;  ///< to the reference; null: nothing is aligned
  const SourceNames& names;
  Json origin;
  RunReport* report;
  RunRecord& run;
  Progress& progress;
};

void SeriesCorrection::add(SeriesInput input, SeriesNames names) {
  planned.push_back({std::move(input), std::move(names)});
}

std::vector<std::string> SeriesCorrection::inputFiles() const {
  std::vector<std::string> files;
  for (const Planned& one : planned)
    for (const std::string& file : filesOf(one.input)) files.push_back(file);
  return files;
}

std::vector<ResultInput> SeriesCorrection::inputsOf(const Planned& one) const {
  std::vector<ResultInput> inputs = {{one.input.file}};
  inputs.insert(inputs.end(), others.begin(), others.end());
  return inputs;
}

void SeriesCorrection::announce(const std::vector<std::string>& inputs,
                                const std::vector<ResultInput>& common,
                                const EarlierResults& earlier) {
  others = common;
  const auto announceResult = [&](const Planned& one, const std::string& stem,
                                  const std::vector<std::string>& files) {
    for (const std::string& file : files) folder.announce(file, inputs);
    earlier.refuseOthers(stem, files, inputsOf(one));
  };
  for (const Planned& one : planned) {
    std::vector<std::string> files = {one.names.image, one.names.sidecar};
    files.insert(files.end(), one.names.gradients.begin(), one.names.gradients.end());
    announceResult(one, fs::path(one.names.sidecar).stem().string(), files);
    const std::string& warp = one.names.warp;
    if (!warp.empty()) announceResult(one, warp, {warp + imageEnd, warp + ".json"});
    const std::string& motion = one.names.motion;
    if (!motion.empty()) announceResult(one, motion, {motion + motionEnd, motion + ".json"});
  }
}

void SeriesCorrection::run(const Distortion& distortion, const std::optional<Reference>& reference,
                           const SourceNames& names, RunReport* report, RunRecord& run,
                           Progress& progress) {
  if (planned.empty()) return;
  std::optional<RigidAligner> aligner;
  if (settings.align && reference && distortion.isField()) aligner.emplace(reference->image);
  const Context context{distortion, reference,     aligner ? &*aligner : nullptr,
                        names,      originOf(run), report,
                        run,        progress};
  for (const Planned& one : planned) correctOne(one, context);
}

std::optional<RealignmentRecord> SeriesCorrection::realign(Planned& one, const Grid& place,
                                                           const Context& context) const {
  if (one.names.motion.empty()) return std::nullopt;
  return realignSeries(shiftOn(place, one.input, context.distortion), settings,
                       one.names.motion + motionEnd, context.progress, one.input);
}

SeriesCorrection::Head SeriesCorrection::findHead(Planned& one, const Context& context) const {
  const SeriesInput& input = one.input;
  Head head;
  head.place = gridOf(input.header);
  head.realignment = realign(one, head.place, context);
  if (context.aligner || (input.motion && context.reference)) head.mean = meanToAlign(input);
  if (!context.aligner) return head;
  context.progress.at(Stage::correcting, 0.0, fs::path(input.file).filename().string());
  head.alignment = alignToReference(input, head.mean, optionsFor(input), context.distortion,
                                    *context.reference, *context.aligner);
  if (!head.alignment->moved()) return head;
  head.place = beforeMotion(head.place, head.alignment->fit.motion, head.alignment->centreMm);
  // With the field of another place the motion was a little off.
  head.realignment = realign(one, head.place, context);
  return head;
}

void SeriesCorrection::correctOne(Planned one, const Context& context) {
  const SeriesInput& input = one.input;
  const bids::PhaseEncodingDirection direction = input.acquisition.direction->value;
  ChecksumBeside checksum(input.stamp, settings.threads);
  Head head = findHead(one, context);
  const Grid& place = head.place;
  const std::optional<AlignmentRecord>& alignment = head.alignment;
  const SeriesOptions how = optionsFor(input);
  const Volume<float> shift = shiftOn(place, input, context.distortion);
  const SeriesReport corrected = resample(one, shift, how, context);

  SeriesRecord record = recordOf(input, one.names.image, corrected, context.distortion);
  record.checksum = checksum.value();
  record.background = how.background;
  record.alignment = alignment;
  record.realignment = std::move(head.realignment);
  if (context.run.source)
    if (const std::string doubt = shiftDoubt(corrected.meanBefore, shift, direction.axis,
                                             input.file, context.run.source->file);
        !doubt.empty())
      record.warnings.push_back(doubt);
  std::vector<Remark>& notes = context.run.notes;
  notes.insert(notes.end(), input.notes.begin(), input.notes.end());
  for (const std::string& note : corrected.notes) notes.emplace_back(note);
  if (record.realignment) tellOfRealignment(input, record, notes);
  if (input.motion) judgeMotion(input, shift, corrected.meanAfter, record, notes);
  if (context.reference) {
    checkSigns(input, input.motion ? head.mean : corrected.meanBefore, shift, place,
               settings.modulation, *context.reference, record, notes);
    if (alignment) tellOfAlignment(input, *context.reference, record, notes);
  }
  const Json origin = originOf(context.run, context.origin, record);
  writeRest(one, origin, context);
  if (!one.names.warp.empty()) writeWarp(one, shift, origin, context);
  if (!one.names.motion.empty()) writeMotion(one, origin, context);
  if (context.report)
    context.report->showSeries(
        {input.header, corrected.meanBefore, corrected.meanAfter, shift, record, origin});
  std::vector<Remark>& warnings = context.run.warnings;
  warnings.insert(warnings.end(), record.warnings.begin(), record.warnings.end());
  context.run.series.push_back(std::move(record));
}

SeriesOptions SeriesCorrection::optionsFor(const SeriesInput& input) const {
  SeriesOptions how;
  how.axis = input.acquisition.direction->value.axis;
  how.modulation = settings.modulation;
  how.interpolation = settings.interpolation;
  how.floatOutput = settings.floatOutput;
  how.threads = settings.threads;
  how.volumes = input.volumes;
  if (input.motion) how.toVolume = voxelMotions(*input.motion, input.header.affine());
  if (how.modulation == Modulation::on) how.background = backgroundOf(input);
  return how;
}

SeriesReport SeriesCorrection::resample(const Planned& one, const Volume<float>& shift,
                                        SeriesOptions how, const Context& context) {
  const std::string subject = fs::path(one.input.file).filename().string();
  context.progress.at(Stage::correcting, 0.0, subject);
  how.done = [&](double done) { context.progress.at(Stage::correcting, done, subject); };
  return correctSeries(one.input.file, shift, how, folder.path(one.names.image));
}

void SeriesCorrection::writeRest(const Planned& one, const Json& origin, const Context& context) {
  folder.writeText(one.names.sidecar, sidecarText(one.input.file + ", corrected for distortion", "",
                                                  sourcesOf(inputsOf(one), context.names), origin,
                                                  fieldsAfterCorrection(one.input)));
  for (std::size_t n = 0; n < one.names.gradients.size(); ++n) {
    const FileStamp& table = one.input.gradientFiles[n];
    const bool turned = one.input.motion && table.fileName().ends_with(".bvec");
    if (one.input.volumes.empty() && !turned)
      folder.copy(table.fileName(), one.names.gradients[n]);
    else
      folder.writeText(one.names.gradients[n], gradientTextOf(one.input, table.fileName()));
    table.requireUnchanged();
  }
}

void SeriesCorrection::writeWarp(const Planned& one, const Volume<float>& shift, const Json& origin,
                                 const Context& context) {
  const std::string& name = one.names.warp;
  writeWarpLps(shift, one.input.header, one.input.acquisition.direction->value.axis,
               folder.path(name + imageEnd));
  folder.writeText(name + ".json",
                   sidecarText(warpDescription(one.input.file), "mm",
                               sourcesOf(inputsOf(one), context.names), origin, Json::object()));
}

void SeriesCorrection::writeMotion(const Planned& one, const Json& origin, const Context& context) {
  const std::string& name = one.names.motion;
  folder.writeText(name + motionEnd, motionText(one.input));
  folder.writeText(
      name + ".json",
      sidecarText("Where the head is in every volume of " + one.input.file +
                      ": rigid transforms from its place in the reference volume, one "
                      "after the other, in mm, x to the left and y to the back",
                  "", sourcesOf(inputsOf(one), context.names), origin, Json::object()));
}

}  // namespace mirel
