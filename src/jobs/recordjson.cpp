#include "jobs/recordjson.h"

#include <algorithm>
#include <cmath>

#include "jobs/checksum.h"
#include "jobs/joinedjson.h"
#include "jobs/realignmentjson.h"

namespace mirel {

namespace {

Json readoutJson(const bids::Readout& readout) {
  Json json = {{"Seconds", readout.seconds}, {"Source", nameOf(readout.source)}};
  if (!readout.file.empty()) json["File"] = readout.file;
  return json;
}

void addAcquisition(Json& json, const bids::Acquisition& acquisition) {
  json["PhaseEncodingDirection"] = nameOf(acquisition.direction->value);
  json["PhaseEncodingDirectionSource"] = acquisition.direction->sourceText();
  if (acquisition.readout) json["TotalReadoutTime"] = readoutJson(*acquisition.readout);
  addSidecars(json, acquisition.sidecarStamps());
}

Json imageJson(const ImageDescription& image) {
  Json json = fileJson(image.stamp);
  if (image.joined) addJoined(json, image);
  if (image.header.volumes > 1 && !image.joined) json["Volume"] = image.options.volume;
  if (image.options.meanOfFirst > 1) json["MeanOfVolumes"] = image.options.meanOfFirst;
  if (const Spikes& spikes = image.spikes; !spikes.empty())
    json["Spikes"] = {{"Voxels", spikes.voxels.size()},
                      {"Largest", static_cast<double>(spikes.largest)}};
  addAcquisition(json, image.acquisition);
  const bids::GivenAcquisition& given = image.options.given;
  if (!given.table.empty()) json["AcquisitionTable"] = fileJson(given.tableStamp);
  return json;
}

Json sourceJson(const SourceRecord& source) {
  Json json = fileJson(source.stamp);
  json["Units"] = nameOf(source.unit.value);
  json["UnitsSource"] = source.unit.sourceText();
  addSidecars(json, source.sidecars);
  return json;
}

Json three(const glm::dvec3& v) { return {v.x, v.y, v.z}; }

// The motion that was found, also where it was not taken.
Json alignmentJson(const AlignmentRecord& alignment) {
  Json json = {{"Outcome", nameOf(alignment.outcome)}};
  if (!alignment.reason.empty()) json["Reason"] = alignment.reason;
  if (alignment.rounds == 0) return json;
  json["HeadMotion"] = motionJson(alignment.fit.motion);
  json["CentreMm"] = three(alignment.centreMm);
  json["DisplacementMm"] = alignment.displacementMm;
  if (alignment.standardErrorMm) json["StandardErrorMm"] = *alignment.standardErrorMm;
  json["NormalisedMutualInformation"] = {{"Unmoved", alignment.fit.nmiUnmoved},
                                         {"Moved", alignment.fit.nmi}};
  json["Rounds"] = alignment.rounds;
  return json;
}

// The head's motion from A to B along and about i, j, k; null: none was found, or none was looked
// for.
Json motionJson(const PairFindings& findings) {
  if (!findings.motion) return nullptr;
  return motionJson(*findings.motion);
}

// Null: one ratio of intensities served.
Json varyingRatioJson(const PairFindings& findings) {
  if (!findings.shading && !findings.contrast) return nullptr;
  return {{"Shading", findings.shading},
          {"Contrast", findings.contrast},
          {"Spread", findings.intensityRatioSpread}};
}

// In % of the image; null: none was left in.
Json ghostsLeftJson(const PairGhosts& ghosts) {
  if (ghosts.areNone()) return nullptr;
  return {{"Percent", {100 * ghosts.first, 100 * ghosts.second}}};
}

// The same; null: none was taken off.
Json ghostsJson(const PairGhosts& ghosts) {
  Json json = ghostsLeftJson(ghosts);
  if (!json.is_null()) json["PhaseCosine"] = ghosts.cosine;
  return json;
}

// Null: there was no mass-preserving estimate. Tails null: normal.
Json residualNoiseJson(const PairFindings& findings) {
  if (findings.estimator != Estimator::massPreserving) return nullptr;
  const double tails = findings.noiseTails;
  return {{"OfSignal", findings.noiseOfSignal},
          {"Tails", std::isfinite(tails) ? Json(tails) : Json(nullptr)}};
}

Json numberOrNull(const std::optional<double>& number) {
  return number ? Json(*number) : Json(nullptr);
}

Json settingsJson(const EstimateSettings& settings, const PairFindings& findings) {
  Json json = {{"Estimator", nameOf(settings.estimator)}};
  if (settings.estimator == Estimator::search) {
    json["Fast"] = settings.search.fast;
    if (!settings.search.fast) {
      json["Measure"] = settings.search.useSsd ? "SSD" : "NCC";
      json["IntensityCorrection"] = settings.search.intensityCorrection;
    }
  }
  if (settings.estimator == Estimator::massPreserving) {
    json["EstimateMotion"] = settings.motion;
    json["IntensityRatio"] = findings.intensityRatio;
    json["IntensityRatioVaries"] = varyingRatioJson(findings);
    json["HeadMotion"] = motionJson(findings);
    json["ShareOut"] = findings.shareOut;
    json["Ghosts"] = ghostsJson(findings.ghosts);
    json["GhostsLeft"] = ghostsLeftJson(findings.ghostsLeft);
    json["ResidualNoise"] = residualNoiseJson(findings);
    json["Background"] = {findings.backgroundA, findings.backgroundB};
  }
  json["IntensityScale"] = findings.intensityScale;
  json["ForegroundThreshold"] = findings.threshold;
  json["Modulation"] = settings.usedModulation() == Modulation::on;
  json["Interpolation"] = nameOf(settings.interpolation);
  return json;
}

std::vector<std::string> textsOf(const std::vector<Remark>& remarks) {
  std::vector<std::string> texts;
  for (const Remark& remark : remarks) texts.push_back(remark.text);
  return texts;
}

// What was found of the pair, under the names of sidecars.
Json verdictJson(const Verdict& verdict, int sign) {
  const PairFigures& found = verdict.figures;
  Json json = {{"Trust", nameOf(verdict.trust)},
               {"Reasons", textsOf(verdict.reasons)},
               {"ColumnTotals", found.columnTotals},
               {"ColumnTotalsOfNoise", found.columnTotalsOfNoise},
               {"Residual", found.residual},
               {"ResidualOfNoise", found.residualOfNoise},
               {"SliceResiduals", listOf(found.sliceResiduals)},
               {"SliceMisfits", listOf(found.sliceMisfits)},
               {"SliceAxis", bids::nameOf({found.sliceAxis, 1})},
               {"DisplacementVoxels", found.shiftVoxels},
               {"Stretch", found.stretch},
               {"Shear", found.shear}};
  if (found.fieldHz) json["FieldHz"] = *found.fieldHz;
  if (found.hzPerVoxel) {
    const double low = sign * found.shiftLow, high = sign * found.shiftHigh;
    json["FieldRangeHz"] = {*found.hzPerVoxel * std::min(low, high),
                            *found.hzPerVoxel * std::max(low, high)};
  }
  if (found.fieldHzPerMm) json["FieldHzPerMm"] = *found.fieldHzPerMm;
  return json;
}

const char* startName(const PairRecord& pair) {
  if (pair.settings.estimator == Estimator::none) return "MeasuredField";
  return pair.startIsPrior ? "PriorField" : "InitialField";
}

Json startJson(const PairRecord& pair) {
  Json json = sourceJson(*pair.start);
  // The map itself: PairCorrelation and Verdict tell how the images agree with it.
  if (pair.settings.estimator == Estimator::none) return json;
  const StartAgreement& with = *pair.findings.withStart;
  const double hz = pair.findings.verdict.figures.hzPerVoxel.value_or(0.0);
  json["Agreement"] = {{"Correlation", with.correlation},
                       {"MedianHz", pair.a.direction().sign * hz * with.median},
                       {"HalfWidthOf95Hz", hz * with.halfWidthOf95}};
  return json;
}

Json acrossJson(const AcrossFindings& findings) {
  Json json = {{"Used", findings.used}, {"DisplacementMm", findings.displacementMm}};
  if (findings.motion) json["HeadMotion"] = motionJson(*findings.motion);
  if (findings.with) json["Correlation"] = findings.with->correlation;
  return json;
}

void addPair(Json& json, const PairRecord& pair) {
  Json inputs = Json::array({imageJson(pair.a), imageJson(pair.b)});
  addFurther(inputs, pair.a, pair.b);
  if (pair.across) {
    inputs.push_back(imageJson(pair.across->a));
    inputs.push_back(imageJson(pair.across->b));
    addFurther(inputs, pair.across->a, pair.across->b);
    json["OtherAxis"] = acrossJson(pair.across->findings);
  }
  json["Inputs"] = inputs;
  json["Options"] = settingsJson(pair.settings, pair.findings);
  const PairAgreement& agreement = pair.findings.agreement;
  json["PairCorrelation"] = {{"Before", agreement.before}, {"After", agreement.after}};
  json["Verdict"] = verdictJson(pair.findings.verdict, pair.a.direction().sign);
  if (pair.mask) {
    json["Mask"] = fileJson(*pair.mask);
    json["Mask"]["PartOfHead"] = pair.findings.partOfHead;
  }
  if (pair.start) json[startName(pair)] = startJson(pair);
  const std::vector<Remark>& warnings = pair.findings.verdict.reasons;
  if (!warnings.empty()) json["Warnings"] = textsOf(warnings);
}

const char* verdictName(MotionCheck::Verdict verdict) {
  switch (verdict) {
    case MotionCheck::Verdict::right:
      return "right";
    case MotionCheck::Verdict::opposite:
      return "opposite";
    case MotionCheck::Verdict::unmoved:
      return "unmoved";
    case MotionCheck::Verdict::undecided:
      break;
  }
  return "undecided";
}

Json withinSeriesJson(const MotionRecord& motion) {
  Json json = {{"File", motion.told.file}, {"Form", nameOf(motion.told.form)}};
  if (motion.told.stamps.size() == 1) json["SHA256"] = sha256Of(motion.told.stamps.front());
  if (motion.told.referenceVolume) json["ReferenceVolume"] = *motion.told.referenceVolume;
  if (!motion.told.referenceImage.empty()) json["ReferenceImage"] = motion.told.referenceImage;
  json["LargestDisplacementMm"] = motion.largestMm;
  json["Check"] = {{"Verdict", verdictName(motion.check.verdict)},
                   {"AsGiven", motion.check.asGiven},
                   {"Opposite", motion.check.opposite},
                   {"Unmoved", motion.check.unmoved}};
  return json;
}

const char* verdictName(SignCheck::Verdict verdict) {
  switch (verdict) {
    case SignCheck::Verdict::right:
      return "right";
    case SignCheck::Verdict::opposite:
      return "opposite";
    case SignCheck::Verdict::undecided:
      break;
  }
  return "undecided";
}

constexpr const char* gradientsField = "GradientFiles";

Json seriesJson(const SeriesRecord& series) {
  Json json = {{"File", series.file}, {"SHA256", series.checksum}};
  const bids::StatedDirection& direction = *series.acquisition.direction;
  if (direction.source == bids::StatedDirection::Source::map) {
    // Nobody told the polarity: only the axis along which the map shifts is known.
    addSidecars(json, series.acquisition.sidecarStamps());
  } else {
    addAcquisition(json, series.acquisition);
    json["FieldResampled"] = series.resampledField;
  }
  if (!series.gradientFiles.empty()) {
    json[gradientsField] = Json::array();
    for (const FileStamp& table : series.gradientFiles)
      json[gradientsField].push_back(fileJson(table));
  }
  if (!series.chosenVolumes.empty()) json["Volumes"] = listOf(series.chosenVolumes);
  if (series.background != 0) json["Background"] = series.background;
  if (series.signs)
    json["SignCheck"] = {{"Verdict", verdictName(series.signs->verdict)},
                         {"AsGiven", series.signs->asGiven},
                         {"Opposite", series.signs->opposite}};
  if (series.alignment) json["Alignment"] = alignmentJson(*series.alignment);
  if (series.realignment) json["Realignment"] = realignmentJson(*series.realignment);
  if (series.motion) json["Motion"] = withinSeriesJson(*series.motion);
  if (!series.warnings.empty()) json["Warnings"] = textsOf(series.warnings);
  if (series.mapFactor) {
    json["DisplacementAxis"] = bids::nameOf({direction.value.axis, 1});
    json["DisplacementFactor"] = *series.mapFactor;
  }
  return json;
}

Json readoutSummary(const bids::Readout& readout) {
  Json summary = {{"seconds", readout.seconds}, {"source", nameOf(readout.source)}};
  if (!readout.file.empty()) summary["file"] = readout.file;
  return summary;
}

Json imageSummary(const ImageDescription& image) {
  Json json = {{"file", image.options.file},
               {"direction", nameOf(image.direction())},
               {"directionSource", image.acquisition.direction->sourceText()}};
  if (image.acquisition.readout) json["readout"] = readoutSummary(*image.acquisition.readout);
  if (image.joined) json["joined"] = joinedSummary(*image.joined);
  return json;
}

Json verdictSummary(const Verdict& verdict) {
  const PairFigures& found = verdict.figures;
  Json json = {{"trust", nameOf(verdict.trust)},
               {"reasons", textsOf(verdict.reasons)},
               {"columnTotals", found.columnTotals},
               {"columnTotalsOfNoise", found.columnTotalsOfNoise},
               {"residual", found.residual},
               {"residualOfNoise", found.residualOfNoise},
               {"sliceResiduals", listOf(found.sliceResiduals)},
               {"sliceMisfits", listOf(found.sliceMisfits)},
               {"sliceAxis", bids::nameOf({found.sliceAxis, 1})},
               {"displacementVoxels", found.shiftVoxels},
               {"stretch", found.stretch},
               {"shear", found.shear}};
  if (found.fieldHz) json["fieldHz"] = *found.fieldHz;
  if (found.fieldHzPerMm) json["fieldHzPerMm"] = *found.fieldHzPerMm;
  return json;
}

void addPairSummary(Json& json, const PairRecord& pair) {
  const PairFindings& findings = pair.findings;
  json["a"] = imageSummary(pair.a);
  json["b"] = imageSummary(pair.b);
  if (pair.across)
    json["otherAxis"] = {{"a", imageSummary(pair.across->a)},
                         {"b", imageSummary(pair.across->b)},
                         {"used", pair.across->findings.used},
                         {"displacementMm", pair.across->findings.displacementMm}};
  json["estimator"] = nameOf(pair.settings.estimator);
  if (pair.settings.estimator == Estimator::none) json["measuredField"] = pair.start->file;
  json["intensityScale"] = findings.intensityScale;
  json["foregroundThreshold"] = findings.threshold;
  json["background"] = {findings.backgroundA, findings.backgroundB};
  json["intensityRatio"] = findings.intensityRatio;
  json["intensityRatioVaries"] = varyingRatioJson(findings);
  json["shareOut"] = findings.shareOut;
  json["ghosts"] = ghostsJson(findings.ghosts);
  json["ghostsLeft"] = ghostsLeftJson(findings.ghostsLeft);
  json["residualNoise"] = residualNoiseJson(findings);
  json["estimateMotion"] = pair.settings.looksForMotion();
  json["headMotion"] = motionJson(findings);
  json["modulation"] = pair.settings.usedModulation() == Modulation::on;
  json["interpolation"] = nameOf(pair.settings.interpolation);
  json["foreground"] = {findings.foregroundA, findings.foregroundB};
  const PairAgreement& agreement = findings.agreement;
  json["pairCorrelation"] = {{"before", agreement.before},
                             {"after", agreement.after},
                             {"modulated", agreement.modulated},
                             {"negated", agreement.negated},
                             {"fastAlongAxis", numberOrNull(agreement.fastAlongAxis)},
                             {"fastAcross", numberOrNull(agreement.fastAcross)}};
  if (agreement.bestScale)
    json["bestFieldScale"] = {{"factor", agreement.bestScale->factor},
                              {"pairCorrelation", agreement.bestScale->agreement}};
  json["verdict"] = verdictSummary(findings.verdict);
}

Json alignmentSummary(const AlignmentRecord& alignment) {
  Json json = {{"outcome", nameOf(alignment.outcome)}};
  if (!alignment.reason.empty()) json["reason"] = alignment.reason;
  if (alignment.rounds == 0) return json;
  json["headMotion"] = motionJson(alignment.fit.motion);
  json["displacementMm"] = alignment.displacementMm;
  json["normalisedMutualInformation"] = {{"unmoved", alignment.fit.nmiUnmoved},
                                         {"moved", alignment.fit.nmi}};
  return json;
}

Json seriesSummary(const SeriesRecord& series) {
  const bids::Acquisition& acquisition = series.acquisition;
  Json json = {{"file", series.file},
               {"output", series.output},
               {"volumes", series.volumes},
               {"direction", nameOf(acquisition.direction->value)},
               {"directionSource", acquisition.direction->sourceText()},
               {"fieldResampled", series.resampledField}};
  if (!series.partner.empty()) {
    json["joinedWith"] = series.partner.front().file;
    json["residuals"] = listOf(series.joining.residuals);
  }
  if (series.signs) json["signCheck"] = verdictName(series.signs->verdict);
  if (acquisition.readout) json["readout"] = readoutSummary(*acquisition.readout);
  if (series.alignment) json["alignment"] = alignmentSummary(*series.alignment);
  if (series.realignment) json["realignment"] = realignmentSummary(*series.realignment);
  return json;
}

}  // namespace

Json motionJson(const RigidMotion& motion) {
  return {{"TranslationMm", three(motion.translationMm)},
          {"RotationDegrees", three(motion.rotationDegrees)}};
}

void addSidecars(Json& json, const std::vector<FileStamp>& files) {
  if (files.empty()) return;
  std::vector<std::string> names, sums;
  for (const FileStamp& file : files) {
    names.push_back(file.fileName());
    sums.push_back(sha256Of(file));
  }
  json["Sidecar"] = oneOrList(names);
  json["SidecarSHA256"] = oneOrList(sums);
}

Json fileJson(const FileStamp& file) {
  return {{"File", file.fileName()}, {"SHA256", sha256Of(file)}};
}

Json oneOrList(const std::vector<std::string>& names) {
  return names.size() == 1 ? Json(names.front()) : Json(names);
}

Json originOf(const RunRecord& run) {
  Json json = {{"Version", run.version}};
  if (run.pair) addPair(json, *run.pair);
  if (run.source) {
    json[run.source->kind == SourceRecord::Kind::map ? "Map" : "Field"] = sourceJson(*run.source);
    json["Options"]["Modulation"] = run.seriesSettings.modulation == Modulation::on;
    json["Options"]["Interpolation"] = nameOf(run.seriesSettings.interpolation);
  }
  return json;
}

bool hadGradients(const Json& series, const std::string& end) {
  const Json* tables = series.find(gradientsField);
  if (tables == nullptr || !tables->is_array()) return false;
  const auto& all = tables->list();
  return std::any_of(all.begin(), all.end(),
                     [&](const Json& table) { return table.textOf("File").ends_with(end); });
}

Json originOf(const RunRecord& run, const Json& origin, const SeriesRecord& series) {
  Json json = origin;
  json["Options"]["FloatOutput"] = run.seriesSettings.floatOutput;
  json["Series"] = seriesJson(series);
  if (series.partner.empty()) return json;
  json["Partner"] = seriesJson(series.partner.front());
  const RestoreWeights& weights = series.joining.weights;
  json["Joining"] = {
      {"NoiseDeviation", {std::sqrt(weights.firstVariance), std::sqrt(weights.secondVariance)}},
      {"Roughness", std::sqrt(weights.roughness)},
      {"Residuals", listOf(series.joining.residuals)},
      {"ContradictedVoxels", listOf(series.joining.contradicted)}};
  return json;
}

std::string warpDescription(const std::string& image) {
  return "Displacement field that takes the distortion out of " + image +
         ": the vector at a voxel, in mm with x to the left, y to the back and z upwards, leads "
         "from the voxel to the place in the distorted image where its value is";
}

std::string sidecarText(const std::string& description, const std::string& units,
                        const std::vector<std::string>& sources, const Json& origin,
                        const Json& moreFields) {
  Json json = {{"Description", description}};
  if (!units.empty()) json["Units"] = units;
  json["SkullStripped"] = false;
  json.update(moreFields);
  json["Sources"] = sources;
  json["Mirel"] = origin;
  return json.dump(2, Json::NotUtf8::replaced) + "\n";
}

std::string datasetDescription(const std::string& version, const Json& links) {
  Json json = {{"Name", "Images corrected for distortion"},
               {"BIDSVersion", "1.8.0"},
               {"DatasetType", "derivative"},
               {"GeneratedBy", {{{"Name", "Mirel"}, {"Version", version}}}}};
  if (!links.items().empty()) json["DatasetLinks"] = links;
  return json.dump(2) + "\n";
}

std::string summaryText(const RunRecord& run) {
  Json json = Json::object();
  if (run.pair) addPairSummary(json, *run.pair);
  json["series"] = Json::array();
  for (const SeriesRecord& series : run.series) json["series"].push_back(seriesSummary(series));
  json["outputs"] = run.outputs;
  json["notes"] = textsOf(run.notes);
  json["warnings"] = textsOf(run.warnings);
  return json.dump(2, Json::NotUtf8::replaced) + "\n";
}

}  // namespace mirel
