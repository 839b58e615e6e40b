#include "dataset/plantable.h"

#include <algorithm>

#include "base/joined.h"
#include "dataset/fieldlabels.h"
#include "dataset/tsv.h"

namespace mirel::dataset {

namespace {

struct Row {
  std::string image, status, field, sources, rule, reason, output;
  std::vector<std::string> warnings;
};

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

SubjectResult SubjectResult::of(SubjectPlan plan) {
  SubjectResult result{std::move(plan), {}};
  for (const PlannedImage& image : result.plan.planned)
    result.outcomes.push_back({image.field ? Status::planned : Status::left, "", ""});
  return result;
}

int SubjectResult::count(Status status) const {
  return static_cast<int>(std::count_if(outcomes.begin(), outcomes.end(),
                                        [&](const Outcome& one) { return one.status == status; }));
}

std::string planTsv(const SubjectResult& result) {
  std::string table =
      tsvLine({"image", "status", "field", "sources", "rule", "reason", "output", "warnings"});
  for (const Row& row : rowsOf(result))
    table += tsvLine({row.image, row.status, row.field, row.sources, row.rule, row.reason,
                      row.output, joined(row.warnings, "; ")});
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
  }
  for (const Remark& warning : result.plan.warnings) text += "Warning: " + warning.text + "\n";
  return text;
}

}  // namespace mirel::dataset
