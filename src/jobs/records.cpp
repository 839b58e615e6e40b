#include "jobs/records.h"

#include "jobs/checksum.h"

namespace mirel {

namespace {

Json readoutRecord(const std::optional<bids::Readout>& readout) {
  if (!readout) return nullptr;
  Json record = {{"Seconds", readout->seconds}, {"Source", nameOf(readout->source)}};
  if (!readout->file.empty()) record["File"] = readout->file;
  return record;
}

void addSidecars(Json& record, const std::vector<std::string>& files) {
  if (files.empty()) return;
  std::vector<std::string> sums;
  for (const std::string& file : files) sums.push_back(bids::sha256Of(file));
  record["Sidecar"] = oneOrList(files);
  record["SidecarSHA256"] = oneOrList(sums);
}

void addAcquisition(Json& record, const bids::PhaseEncodingDirection& direction,
                    const std::string& directionSource, const std::optional<bids::Readout>& readout,
                    const std::vector<std::string>& sidecarFiles) {
  record["PhaseEncodingDirection"] = nameOf(direction);
  record["PhaseEncodingDirectionSource"] = directionSource;
  if (readout) record["TotalReadoutTime"] = readoutRecord(readout);
  addSidecars(record, sidecarFiles);
}

Json recordOf(const InputImage& image) {
  Json record = {{"File", image.options.file}, {"SHA256", bids::sha256Of(image.options.file)}};
  if (image.header.volumes > 1) record["Volume"] = image.options.volume;
  if (image.options.meanOfFirst > 1) record["MeanOfVolumes"] = image.options.meanOfFirst;
  addAcquisition(record, image.direction, image.directionSource, image.readout, image.sidecarFiles);
  return record;
}

// The head's motion from A to B along and about i, j, k; null: none was found.
Json motionRecord(const PairEstimate& estimate) {
  if (!estimate.motion) return nullptr;
  const glm::dvec3 t = estimate.motion->translationMm, r = estimate.motion->rotationDegrees;
  return {{"TranslationMm", {t.x, t.y, t.z}}, {"RotationDegrees", {r.x, r.y, r.z}}};
}

Json settingsRecord(const EstimateSettings& settings, const PairEstimate& estimate) {
  Json record = {{"Estimator", nameOf(settings.estimator)}};
  if (settings.estimator == Estimator::search) {
    record["Fast"] = settings.search.fast;
    if (!settings.search.fast) {
      record["Measure"] = settings.search.useSsd ? "SSD" : "NCC";
      record["IntensityCorrection"] = settings.search.intensityCorrection;
    }
  }
  if (settings.estimator == Estimator::massPreserving) {
    record["EstimateMotion"] = settings.motion;
    record["IntensityRatio"] = estimate.intensityRatio;
    record["HeadMotion"] = motionRecord(estimate);
  }
  record["IntensityScale"] = estimate.intensityScale;
  record["ForegroundThreshold"] = estimate.threshold;
  record["Modulation"] = settings.modulation == Modulation::on;
  return record;
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

Json readoutSummary(const bids::Readout& readout) {
  Json summary = {{"seconds", readout.seconds}, {"source", nameOf(readout.source)}};
  if (!readout.file.empty()) summary["file"] = readout.file;
  return summary;
}

}  // namespace

Json oneOrList(const std::vector<std::string>& names) {
  return names.size() == 1 ? Json(names.front()) : Json(names);
}

Json recordOf(const CorrectionOptions& options, const PairInput& pair,
              const PairEstimate& estimate) {
  Json record = {{"Version", options.version},
                 {"Inputs", Json::array({recordOf(pair.a), recordOf(pair.b)})}};
  record["Options"] = settingsRecord(options.estimate, estimate);
  const PairAgreement& agreement = estimate.agreement;
  record["PairCorrelation"] = {{"Before", agreement.before}, {"After", agreement.after}};
  if (!estimate.warnings.empty()) record["Warnings"] = estimate.warnings;
  return record;
}

Json recordOf(const SeriesResult& result) {
  Json record = {{"File", result.file}, {"SHA256", bids::sha256Of(result.file)}};
  addAcquisition(record, result.direction, result.directionSource, result.readout,
                 result.sidecarFiles);
  record["FieldResampled"] = result.resampledField;
  record["SignCheck"] = {{"Verdict", verdictName(result.signs.verdict)},
                         {"AsGiven", result.signs.asGiven},
                         {"Opposite", result.signs.opposite}};
  return record;
}

std::string sidecarText(const std::string& description, const std::string& units,
                        const std::vector<std::string>& sources, const Json& record,
                        const Json& moreFields) {
  Json json = {{"Description", description}};
  if (!units.empty()) json["Units"] = units;
  json.update(moreFields);
  json["Sources"] = sources;
  json["Mirel"] = record;
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string datasetDescription(const std::string& version) {
  const Json json = {{"Name", "Images corrected for distortion"},
                     {"BIDSVersion", "1.8.0"},
                     {"DatasetType", "derivative"},
                     {"GeneratedBy", {{{"Name", "Mirel"}, {"Version", version}}}}};
  return json.dump(2) + "\n";
}

Json summaryOf(const CorrectionReport& report) {
  const PairEstimate& estimate = report.estimate;
  Json json;
  for (const auto& [key, image] :
       {std::pair{"a", &report.pair.a}, std::pair{"b", &report.pair.b}}) {
    json[key] = {{"file", image->options.file},
                 {"direction", nameOf(image->direction)},
                 {"directionSource", image->directionSource}};
    if (image->readout) json[key]["readout"] = readoutSummary(*image->readout);
  }
  json["intensityScale"] = estimate.intensityScale;
  json["foregroundThreshold"] = estimate.threshold;
  json["intensityRatio"] = estimate.intensityRatio;
  json["headMotion"] = motionRecord(estimate);
  json["foreground"] = {estimate.foregroundA, estimate.foregroundB};
  const PairAgreement& agreement = estimate.agreement;
  json["pairCorrelation"] = {{"before", agreement.before},
                             {"after", agreement.after},
                             {"negated", agreement.negated},
                             {"fastAlongAxis", agreement.fastAlongAxis},
                             {"fastAcross", agreement.fastAcross}};
  json["series"] = Json::array();
  for (const SeriesResult& result : report.series) {
    Json entry = {{"file", result.file},
                  {"output", result.output},
                  {"volumes", result.volumes},
                  {"direction", nameOf(result.direction)},
                  {"directionSource", result.directionSource},
                  {"fieldResampled", result.resampledField},
                  {"signCheck", verdictName(result.signs.verdict)}};
    if (result.readout) entry["readout"] = readoutSummary(*result.readout);
    json["series"].push_back(entry);
  }
  json["outputs"] = report.outputs;
  json["notes"] = report.notes;
  json["warnings"] = report.warnings;
  return json;
}

}  // namespace mirel
