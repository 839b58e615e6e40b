#include "jobs/seriescorrection.h"

#include <filesystem>

#include "bids/name.h"
#include "field/series.h"
#include "field/warp.h"
#include "nifti/filename.h"
#include "nifti/image.h"
#include "pair/background.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;
using Source = bids::StatedDirection::Source;

constexpr const char* imageEnd = ".nii.gz";

SeriesNames namesFrom(const SeriesInput& input, const std::string& stem, const std::string& end) {
  SeriesNames names;
  names.image = stem + end;
  names.sidecar = stem + ".json";
  for (const std::string& file : input.gradientFiles)
    names.gradients.push_back(stem + fs::path(file).extension().string());
  return names;
}

std::string warpName(const bids::Name& name) { return derivedName(name, "warp", "xfm") + imageEnd; }

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

SeriesRecord recordOf(const SeriesInput& input, const std::string& output,
                      const SeriesReport& corrected, const Distortion& distortion) {
  SeriesRecord record;
  record.file = input.file;
  record.output = output;
  record.acquisition = input.acquisition;
  record.volumes = corrected.volumes;
  record.resampledField = !input.onGridOfField;
  record.warnings = input.warnings;
  for (const std::string& warning : corrected.warnings) record.warnings.push_back(warning);
  if (!record.resampledField) return record;
  const std::string doubt = headOffField(corrected.meanBefore, input, distortion.field());
  if (!doubt.empty()) record.warnings.push_back(doubt);
  return record;
}

}  // namespace

SeriesNames SeriesNames::inFolder(const SeriesInput& input, bool withWarp) {
  const bids::Name name = bids::Name::of(input.file);
  SeriesNames names = namesFrom(input, derivedName(name, "corrected"), imageEnd);
  if (withWarp) names.warp = warpName(name);
  return names;
}

SeriesNames SeriesNames::asImage(const SeriesInput& input, const std::string& image,
                                 bool withWarp) {
  const std::string stem = nifti::niftiStem(image);
  SeriesNames names = namesFrom(input, stem, image.substr(stem.size()));
  if (withWarp) names.warp = warpName(bids::Name::ofStem(stem));
  return names;
}

struct SeriesCorrection::Context {
  const Distortion& distortion;
  const std::optional<Reference>& reference;
  const std::vector<std::string>& sources;
  Json origin;
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

void SeriesCorrection::announce(const std::vector<std::string>& inputs) {
  for (const Planned& one : planned) {
    folder.announce(one.names.image, inputs);
    folder.announce(one.names.sidecar, inputs);
    for (const std::string& gradients : one.names.gradients) folder.announce(gradients, inputs);
    if (!one.names.warp.empty()) folder.announce(one.names.warp, inputs);
  }
}

void SeriesCorrection::run(const Distortion& distortion, const std::optional<Reference>& reference,
                           const std::vector<std::string>& sources, RunRecord& run,
                           Progress& progress) {
  if (planned.empty()) return;
  const Context context{distortion, reference, sources, originOf(run), run, progress};
  for (const Planned& one : planned) correctOne(one, context);
}

void SeriesCorrection::correctOne(const Planned& one, const Context& context) {
  const SeriesInput& input = one.input;
  const bids::PhaseEncodingDirection direction = input.acquisition.direction->value;
  const auto& readout = input.acquisition.readout;
  const Volume<float> shift = context.distortion.shiftFor(
      gridOf(input.header), direction, readout ? std::optional(readout->seconds) : std::nullopt);
  const SeriesOptions how = optionsFor(input);
  const SeriesReport corrected = resample(one, shift, how, context);

  SeriesRecord record = recordOf(input, one.names.image, corrected, context.distortion);
  record.background = how.background;
  std::vector<Remark>& notes = context.run.notes;
  notes.insert(notes.end(), input.notes.begin(), input.notes.end());
  if (context.reference) {
    const auto through = [&](const Volume<float>& map) {
      return correctVolume(corrected.meanBefore - static_cast<float>(how.background), map,
                           direction.axis, settings.modulation);
    };
    record.signs = compareSigns(through(shift), through(-shift), input.header.affine(),
                                context.reference->image);
    judge(input, *context.reference, record, notes);
  }
  writeRest(one, record, context);
  if (!one.names.warp.empty())
    writeWarpLps(shift, input.header, direction.axis, folder.path(one.names.warp));
  std::vector<Remark>& warnings = context.run.warnings;
  warnings.insert(warnings.end(), record.warnings.begin(), record.warnings.end());
  context.run.series.push_back(std::move(record));
}

SeriesOptions SeriesCorrection::optionsFor(const SeriesInput& input) const {
  SeriesOptions how;
  how.axis = input.acquisition.direction->value.axis;
  how.modulation = settings.modulation;
  how.floatOutput = settings.floatOutput;
  how.threads = settings.threads;
  if (how.modulation == Modulation::on)
    how.background = addedBackground(nifti::Reader(input.file).readVolume(0));
  return how;
}

SeriesReport SeriesCorrection::resample(const Planned& one, const Volume<float>& shift,
                                        SeriesOptions how, const Context& context) {
  const std::string subject = fs::path(one.input.file).filename().string();
  context.progress.at(Stage::correcting, 0.0, subject);
  how.done = [&](double done) { context.progress.at(Stage::correcting, done, subject); };
  return correctSeries(one.input.file, shift, how, folder.path(one.names.image));
}

void SeriesCorrection::writeRest(const Planned& one, const SeriesRecord& record,
                                 const Context& context) {
  std::vector<std::string> sources = {one.input.file};
  sources.insert(sources.end(), context.sources.begin(), context.sources.end());
  folder.writeText(
      one.names.sidecar,
      sidecarText(one.input.file + ", corrected for distortion", "", sources,
                  originOf(context.run, context.origin, record), keptFieldsOf(one.input)));
  for (std::size_t n = 0; n < one.names.gradients.size(); ++n)
    folder.copy(one.input.gradientFiles[n], one.names.gradients[n]);
}

}  // namespace mirel
