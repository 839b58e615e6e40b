#include "jobs/seriesjoining.h"

#include <algorithm>
#include <filesystem>

#include "base/joined.h"
#include "base/numbertext.h"
#include "bids/name.h"
#include "field/warp.h"
#include "jobs/checksum.h"
#include "jobs/resultnames.h"
#include "numerics/statistics.h"
#include "restore/restoreseries.h"

namespace mirel {

namespace {

constexpr double doubtfulResidual = 5, outlyingResidual = 2;

SeriesToJoin toJoin(const SeriesInput& input, const Distortion& distortion) {
  return {input.file, shiftOn(gridOf(input.header), input, distortion), backgroundOf(input)};
}

std::vector<int> volumesOf(const std::vector<VolumePair>& pairs, int VolumePair::*which) {
  std::vector<int> volumes;
  for (const VolumePair& pair : pairs) volumes.push_back(pair.*which);
  return volumes;
}

SeriesRecord recordOf(const SeriesInput& input, const SeriesToJoin& joined,
                      std::vector<int> volumes) {
  SeriesRecord record;
  record.file = input.file;
  record.acquisition = input.acquisition;
  record.gradientFiles = input.gradientFiles;
  record.volumes = static_cast<int>(volumes.size());
  record.chosenVolumes = std::move(volumes);
  record.background = joined.background;
  record.resampledField = !input.onGridOfField;
  record.warnings = input.warnings;
  return record;
}

// The joined volumes that are weighted, or those that are not.
std::vector<int> volumesOf(const JoinPlan& plan, bool weighted) {
  std::vector<int> volumes;
  for (std::size_t t = 0; t < plan.gradients.bValues.size(); ++t)
    if ((plan.gradients.bValues[t] > nifti::greatestUnweighted) == weighted)
      volumes.push_back(static_cast<int>(t));
  return volumes;
}

// Joining leaves the field where the reference has its head.
void doubtMotion(const SeriesInput& input, const SeriesToJoin& joined, const Distortion& distortion,
                 const Reference& reference, const RigidAligner& aligner, SeriesRecord& record) {
  SeriesOptions how;
  how.axis = input.acquisition.direction->value.axis;
  how.modulation = Modulation::on;
  how.background = joined.background;
  const AlignmentRecord found =
      alignToReference(input, meanToAlign(input), how, distortion, reference, aligner);
  if (found.moved())
    record.warnings.emplace_back("the head moved by " + text("%.2g", found.displacementMm) +
                                 " mm between " + reference.image.name + " and " + input.file +
                                 ": joining does not carry the field along, as correcting the "
                                 "series alone does");
}

// What is left by the noise depends on the signal: volumes of one kind are held against each other.
void doubtResiduals(const JoinPlan& plan, const std::vector<double>& residuals,
                    SeriesRecord& record) {
  const std::string both = plan.first.file + " and " + plan.second.file;
  std::vector<int> out;
  for (const bool weighted : {false, true}) {
    std::vector<float> sizes;
    const std::vector<int> volumes = volumesOf(plan, weighted);
    for (const int t : volumes)
      sizes.push_back(static_cast<float>(residuals[static_cast<std::size_t>(t)]));
    if (sizes.empty()) continue;
    const double usual = static_cast<double>(quantile(sizes, 0.5));
    if (usual > doubtfulResidual)
      record.warnings.emplace_back(
          std::string(weighted ? "weighted" : "unweighted") + " volumes of " + both +
          ", joined, leave " + text("%.2g", usual) +
          " times the noise: eddy currents, a head that moved between the series or a field that "
          "is not theirs may blur the joined images");
    for (const int t : volumes)
      if (residuals[static_cast<std::size_t>(t)] > outlyingResidual * std::max(usual, 1.0))
        out.push_back(t);
  }
  std::sort(out.begin(), out.end());
  if (!out.empty())
    record.warnings.emplace_back("in " + std::string(out.size() == 1 ? "volume " : "volumes ") +
                                 rangesOf(out) + " of " + plan.stem + " (counted from 0) " + both +
                                 " do not show the same: the head may have moved between them, or "
                                 "signal dropped out in one");
}

}  // namespace

SeriesJoining::SeriesJoining(JoinPlan what, const SeriesSettings& how, OutputFolder& where)
    : plan(std::move(what)), settings(how), folder(where) {}

std::vector<std::string> SeriesJoining::inputFiles() const {
  std::vector<std::string> files = filesOf(plan.first);
  for (const std::string& file : filesOf(plan.second)) files.push_back(file);
  return files;
}

std::vector<ResultInput> SeriesJoining::inputs() const {
  std::vector<ResultInput> all = {{plan.first.file}, {plan.second.file}};
  all.insert(all.end(), others.begin(), others.end());
  return all;
}

void SeriesJoining::announce(const std::vector<std::string>& inputFiles,
                             const std::vector<ResultInput>& common,
                             const EarlierResults& earlier) {
  others = common;
  const auto announceResult = [&](const std::string& stem, const std::vector<std::string>& ends) {
    std::vector<std::string> files;
    for (const std::string& end : ends) files.push_back(stem + end);
    for (const std::string& file : files) folder.announce(file, inputFiles);
    earlier.refuseOthers(stem, files, inputs());
  };
  announceResult(plan.stem, {imageEnd, ".json", ".bvec", ".bval"});
  if (!settings.writeWarp) return;
  for (const SeriesInput* input : {&plan.first, &plan.second})
    announceResult(warpName(bids::Name::of(input->file)), {imageEnd, ".json"});
}

void SeriesJoining::run(const Distortion& distortion, const std::optional<Reference>& reference,
                        const SourceNames& names, RunReport* report, RunRecord& run,
                        Progress& progress) {
  ChecksumBeside firstSum(plan.first.stamp, settings.threads),
      secondSum(plan.second.stamp, settings.threads);
  const SeriesToJoin first = toJoin(plan.first, distortion),
                     second = toJoin(plan.second, distortion);
  JoinOptions how;
  how.axis = plan.first.acquisition.direction->value.axis;
  how.floatOutput = settings.floatOutput;
  how.threads = settings.threads;
  how.done = [&](double done) { progress.at(Stage::correcting, done, plan.stem); };
  how.done(0);
  const JoinReport joined =
      joinSeries(first, second, plan.pairs, how, folder.path(plan.stem + imageEnd));

  SeriesRecord record = recordOf(plan.first, first, volumesOf(plan.pairs, &VolumePair::first));
  SeriesRecord partner = recordOf(plan.second, second, volumesOf(plan.pairs, &VolumePair::second));
  record.output = plan.stem + imageEnd;
  record.checksum = firstSum.value();
  partner.checksum = secondSum.value();
  if (reference) {
    checkSigns(plan.first, joined.series.meanBefore, first.shift, gridOf(plan.first.header),
               Modulation::on, *reference, record, run.notes);
    checkSigns(plan.second, joined.meanOfSecond, second.shift, gridOf(plan.second.header),
               Modulation::on, *reference, partner, run.notes);
  }
  if (reference && settings.align && distortion.isField()) {
    const RigidAligner aligner(reference->image);
    doubtMotion(plan.first, first, distortion, *reference, aligner, record);
    doubtMotion(plan.second, second, distortion, *reference, aligner, partner);
  }
  record.joining = {joined.weights, joined.residuals, joined.contradicted};
  for (const auto* more : {&partner.warnings, &plan.warnings})
    record.warnings.insert(record.warnings.end(), more->begin(), more->end());
  doubtResiduals(plan, joined.residuals, record);
  for (const std::string& warning : joined.series.warnings) record.warnings.push_back(warning);
  for (const auto* notes : {&plan.first.notes, &plan.second.notes, &plan.notes})
    run.notes.insert(run.notes.end(), notes->begin(), notes->end());
  for (const std::string& note : joined.series.notes) run.notes.emplace_back(note);
  record.partner.push_back(std::move(partner));

  const Json origin = originOf(run, originOf(run), record);
  writeTexts(names, origin);
  if (settings.writeWarp) writeWarps(first.shift, second.shift, names, origin);
  if (report)
    report->showSeries({plan.first.header, joined.series.meanBefore, joined.series.meanAfter,
                        first.shift, record, origin});
  run.warnings.insert(run.warnings.end(), record.warnings.begin(), record.warnings.end());
  run.series.push_back(std::move(record));
}

void SeriesJoining::writeTexts(const SourceNames& names, const Json& origin) {
  folder.writeText(plan.stem + ".json",
                   sidecarText(plan.first.file + " and " + plan.second.file +
                                   ", joined into one series without distortion, by least squares",
                               "", sourcesOf(inputs(), names), origin,
                               fieldsAfterJoining(plan.first, plan.second)));
  folder.writeText(plan.stem + ".bvec", nifti::formatDirections(plan.gradients));
  folder.writeText(plan.stem + ".bval", nifti::formatBValues(plan.gradients));
  for (const SeriesInput* input : {&plan.first, &plan.second})
    for (const FileStamp& table : input->gradientFiles) table.requireUnchanged();
}

void SeriesJoining::writeWarps(const Volume<float>& first, const Volume<float>& second,
                               const SourceNames& names, const Json& origin) {
  const auto write = [&](const SeriesInput& input, const Volume<float>& shift) {
    const std::string name = warpName(bids::Name::of(input.file));
    writeWarpLps(shift, input.header, input.acquisition.direction->value.axis,
                 folder.path(name + imageEnd));
    folder.writeText(name + ".json",
                     sidecarText(warpDescription(input.file), "mm", sourcesOf(inputs(), names),
                                 origin, Json::object()));
  };
  write(plan.first, first);
  write(plan.second, second);
}

}  // namespace mirel
