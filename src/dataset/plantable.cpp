#include "dataset/plantable.h"

#include <algorithm>

#include "base/joined.h"
#include "dataset/fieldlabels.h"
#include "dataset/tsv.h"

namespace mirel::dataset {

namespace {

struct Row {
  std::string image, status, field, sources, rule, reason, output, settings;
  std::vector<std::string> warnings;
};

bool isOtherwise(const SeriesSettings& settings) {
  return settings.realign || settings.interpolation != InterpolationKernel::cubic;
}

// What becomes of motion within an image; what can be told before it is read.
std::string realignText(const SubjectPlan& plan, const PlannedImage& planned) {
  const PlannedField& field = plan.fields[*planned.field];
  const ImageFacts& image = plan.images[planned.image];
  if (field.correctsPair && field.pair.has(planned.image)) return "corrected with its pair";
  if (image.volumes == 1) return "one volume, within which no motion is looked for";
  if (image.image.suffix() == "dwi" && !image.unweightedVolumes)
    return "no motion is looked for without a .bval";
  if (image.unweightedVolumes.value_or(image.volumes) < 2)
    return "no motion is looked for: fewer than two volumes have no gradients";
  return "motion within the series is looked for";
}

// What is done otherwise than by default.
std::string settingsText(const SubjectPlan& plan, const PlannedImage& planned,
                         const SeriesSettings& settings) {
  std::vector<std::string> texts;
  if (settings.realign) texts.push_back(realignText(plan, planned));
  if (settings.interpolation != InterpolationKernel::cubic)
    texts.push_back(nameOf(settings.interpolation) + " interpolation");
  return joined(texts);
}

std::vector<Row> rowsOf(const SubjectResult& result) {
  const SubjectPlan& plan = result.plan;
  std::vector<Row> rows;
  for (std::size_t n = 0; n < plan.planned.size(); ++n) {
    const PlannedImage& planned = plan.planned[n];
    const Outcome& outcome = result.outcomes[n];
    Row row;
    row.image = plan.images[planned.image].image.path;
    row.status = nameOf(outcome.status);
    row.reason = outcome.reason.empty() ? planned.reason : outcome.reason;
    row.output = outcome.output;
    row.warnings = outcome.warnings;
    if (planned.field) {
      const PlannedField& field = plan.fields[*planned.field];
      row.field = fieldResultName(plan, field, "fieldmap");
      std::vector<std::string> sources;
      for (const std::size_t source : field.sources())
        sources.push_back(plan.images[source].image.path);
      row.sources = joined(sources);
      row.rule = nameOf(planned.rule);
      if (outcome.status != Status::notSelected)
        row.settings = settingsText(plan, planned, result.settings);
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace

std::string nameOf(Status status) {
  switch (status) {
    case Status::left:
      return "left";
    case Status::notSelected:
      return "not selected";
    case Status::corrected:
      return "corrected";
    case Status::upToDate:
      return "up to date";
    case Status::failed:
      return "failed";
    case Status::planned:
      break;
  }
  return "planned";
}

SubjectResult SubjectResult::of(SubjectPlan plan, const SeriesSettings& settings) {
  SubjectResult result{std::move(plan), {}, settings};
  for (const PlannedImage& image : result.plan.planned)
    result.outcomes.push_back({image.field ? Status::planned : Status::left, "", ""});
  return result;
}

int SubjectResult::count(Status status) const {
  return static_cast<int>(std::count_if(outcomes.begin(), outcomes.end(),
                                        [&](const Outcome& one) { return one.status == status; }));
}

std::string planTsv(const SubjectResult& result) {
  const bool withSettings = isOtherwise(result.settings);
  const auto line = [&](std::vector<std::string> cells, const std::string& settings) {
    if (withSettings) cells.push_back(settings);
    return tsvLine(cells);
  };
  std::string table = line(
      {"image", "status", "field", "sources", "rule", "reason", "output", "warnings"}, "settings");
  for (const Row& row : rowsOf(result))
    table += line({row.image, row.status, row.field, row.sources, row.rule, row.reason, row.output,
                   joined(row.warnings, "; ")},
                  row.settings);
  return table;
}

Json planJson(const SubjectResult& result) {
  Json images = Json::array();
  for (const Row& row : rowsOf(result)) {
    Json image = {{"Image", row.image}, {"Status", row.status}, {"Reason", row.reason}};
    if (!row.field.empty()) {
      image["Field"] = row.field;
      image["Sources"] = row.sources;
      image["Rule"] = row.rule;
    }
    if (!row.settings.empty()) image["Settings"] = row.settings;
    if (!row.output.empty()) image["Output"] = row.output;
    if (!row.warnings.empty()) image["Warnings"] = row.warnings;
    images.push_back(std::move(image));
  }
  std::vector<std::string> warnings;
  for (const Remark& warning : result.plan.warnings) warnings.push_back(warning.text);
  return {{"Subject", result.plan.subject}, {"Images", images}, {"Warnings", Json(warnings)}};
}

std::string planText(const SubjectResult& result) {
  std::string text;
  for (const Row& row : rowsOf(result)) {
    text += row.image + "\n    " + row.status;
    if (!row.field.empty()) text += ": " + row.field + " by " + row.rule;
    text += "\n    " + row.reason + "\n";
    if (!row.settings.empty()) text += "    " + row.settings + "\n";
  }
  for (const Remark& warning : result.plan.warnings) text += "Warning: " + warning.text + "\n";
  return text;
}

}  // namespace mirel::dataset
