#include "dataset/group.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>

#include "base/error.h"
#include "base/json.h"
#include "base/numbertext.h"
#include "bids/name.h"
#include "bids/sidecar.h"
#include "dataset/facts.h"
#include "dataset/tsv.h"

namespace mirel::dataset {

namespace {

namespace fs = std::filesystem;

std::optional<double> numberAt(const Json* json, const char* field) {
  const Json* value = json == nullptr ? nullptr : json->find(field);
  return value != nullptr && value->is_number() ? std::optional(value->number()) : std::nullopt;
}

std::string textAt(const Json* json, const char* field) {
  const Json* value = json == nullptr ? nullptr : json->find(field);
  return value != nullptr && value->is_string() ? value->string() : "";
}

// Of a list of three numbers.
std::optional<double> lengthAt(const Json* json, const char* field) {
  const Json* value = json == nullptr ? nullptr : json->find(field);
  if (value == nullptr || !value->is_array()) return std::nullopt;
  double sum = 0;
  for (const Json& one : value->list())
    if (one.is_number()) sum += one.number() * one.number();
  return std::sqrt(sum);
}

std::vector<std::string> sourcesIn(const Json& sidecar) {
  std::vector<std::string> sources;
  if (const Json* list = sidecar.find("Sources"); list != nullptr && list->is_array())
    for (const Json& one : list->list())
      if (one.is_string()) sources.push_back(one.string());
  return sources;
}

// The figures of a pair, from the record of any of its results.
void readPair(const Json& record, GroupRow& row) {
  const Json *verdict = record.find("Verdict"), *agreement = record.find("PairCorrelation");
  const Json* options = record.find("Options");
  const Json* motion = options == nullptr ? nullptr : options->find("HeadMotion");
  row.verdict = textAt(verdict, "Trust");
  row.fieldHz = numberAt(verdict, "FieldHz");
  row.displacementVoxels = numberAt(verdict, "DisplacementVoxels");
  row.residual = numberAt(verdict, "Residual");
  row.agreementBefore = numberAt(agreement, "Before");
  row.agreementAfter = numberAt(agreement, "After");
  row.motionMm = lengthAt(motion, "TranslationMm");
  row.motionDegrees = lengthAt(motion, "RotationDegrees");
}

int warningsIn(const Json& json) {
  const Json* list = json.find("Warnings");
  return list != nullptr && list->is_array() ? static_cast<int>(list->list().size()) : 0;
}

std::optional<GroupRow> rowOf(const std::string& output, const fs::path& file) {
  if (!isEpiSuffix(bids::Name::ofStem(file.stem().string()).suffix)) return std::nullopt;
  const bids::Sidecar sidecar(file.string());
  const Json* record = sidecar.json().find("Mirel");
  if (record == nullptr) return std::nullopt;
  const std::string stem = file.lexically_relative(output).replace_extension().generic_string();
  const std::vector<std::string> sources = sourcesIn(sidecar.json());
  GroupRow row;
  row.image = stem + ".nii.gz";
  row.source = sources.empty() ? "" : sources[0];
  const Json* series = record->find("Series");
  if (series == nullptr) {
    // Both images of a pair are sources of each: which one it is its name tells.
    for (const std::string& source : sources) {
      row.field += (row.field.empty() ? "" : ", ") + source;
      if (row.image.starts_with(
              source.substr(source.rfind(':') + 1, source.rfind('_') - source.rfind(':') - 1)))
        row.source = source;
    }
    row.warnings = warningsIn(*record);
    readPair(*record, row);
    return row;
  }
  row.signCheck = textAt(series->find("SignCheck"), "Verdict");
  row.warnings = warningsIn(*series);
  constexpr const char* here = "bids::";
  if (sources.size() > 1 && sources[1].starts_with(here)) {
    row.field = sources[1].substr(std::string(here).size());
    std::string fieldRecord = output + "/" + row.field;
    fieldRecord.replace(fieldRecord.rfind(".nii"), std::string::npos, ".json");
    const bids::Sidecar field(fieldRecord);
    if (const Json* pair = field.json().find("Mirel")) {
      row.warnings += warningsIn(*pair);
      readPair(*pair, row);
    }
  }
  return row;
}

struct Column {
  const char* name;
  std::optional<double> GroupRow::*value;
  const char* meaning;
  const char* unit;
};

constexpr Column columns[] = {
    {"field_hz", &GroupRow::fieldHz, "Root mean square of the field in the head", "Hz"},
    {"displacement", &GroupRow::displacementVoxels,
     "Root mean square of the pair's displacement in the head", "voxel"},
    {"motion_translation", &GroupRow::motionMm,
     "Translation of the head between the images of the pair", "mm"},
    {"motion_rotation", &GroupRow::motionDegrees,
     "Rotation of the head between the images of the pair", "degree"},
    {"agreement_before", &GroupRow::agreementBefore,
     "Correlation of the pair in the head as it was acquired", "1"},
    {"agreement_after", &GroupRow::agreementAfter,
     "Correlation of the pair in the head when corrected", "1"},
    {"residual", &GroupRow::residual,
     "Root mean square difference of the corrected pair over that of its mean", "1"},
};

double medianOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : 0.5 * (values[middle - 1] + values[middle]);
}

}  // namespace

void markOutliers(std::vector<GroupRow>& rows) {
  constexpr double farthest = 3.5, toDeviation = 1.4826;
  constexpr std::size_t fewest = 5;
  for (const Column& column : columns) {
    std::map<std::string, double> byField;
    for (const GroupRow& row : rows)
      if (const auto& value = row.*column.value) byField.emplace(row.field, *value);
    if (byField.size() < fewest) continue;
    std::vector<double> values, deviations;
    for (const auto& [field, value] : byField) values.push_back(value);
    const double median = medianOf(values);
    for (const double value : values) deviations.push_back(std::fabs(value - median));
    const double deviation = toDeviation * medianOf(deviations);
    for (GroupRow& row : rows)
      if (const auto& value = row.*column.value;
          value && std::fabs(*value - median) > farthest * deviation && deviation > 0)
        row.outlier += (row.outlier.empty() ? "" : ",") + std::string(column.name);
  }
}

std::vector<GroupRow> groupRows(const std::string& output) {
  std::vector<GroupRow> rows;
  std::error_code failure;
  fs::recursive_directory_iterator entry(output, failure);
  if (failure) throw Error(output, "cannot be listed: " + failure.message());
  for (const fs::recursive_directory_iterator end; entry != end; entry.increment(failure)) {
    const fs::path& path = entry->path();
    if (path.extension() == ".json" && path.filename().string().starts_with("sub-"))
      if (auto row = rowOf(output, path)) rows.push_back(std::move(*row));
  }
  if (rows.empty())
    throw Error(output, "holds no corrected image: correct them first, at the level participant");
  std::sort(rows.begin(), rows.end(),
            [](const GroupRow& a, const GroupRow& b) { return a.image < b.image; });
  markOutliers(rows);
  return rows;
}

std::string groupTsv(const std::vector<GroupRow>& rows) {
  std::vector<std::string> titles = {"image", "source", "field", "verdict"};
  for (const Column& column : columns) titles.emplace_back(column.name);
  titles.insert(titles.end(), {"sign_check", "warnings", "outlier"});
  std::string table = tsvLine(titles);
  for (const GroupRow& row : rows) {
    std::vector<std::string> cells = {row.image, row.source, row.field, row.verdict};
    for (const Column& column : columns) {
      const auto& value = row.*column.value;
      cells.push_back(value ? text(*value) : "");
    }
    cells.insert(cells.end(), {row.signCheck, std::to_string(row.warnings), row.outlier});
    table += tsvLine(cells);
  }
  return table;
}

std::string groupDictionary() {
  Json json = {{"image", {{"Description", "The corrected image, from this folder on"}}},
               {"source", {{"Description", "The image that it was made of, as a BIDS URI"}}},
               {"field", {{"Description", "The field, or the pair, that it was corrected with"}}},
               {"verdict", {{"Description", "How far the result is to be trusted"}}}};
  for (const Column& column : columns)
    json[column.name] = {{"Description", column.meaning}, {"Units", column.unit}};
  json["sign_check"] = {{"Description", "Whether the sign of a series' direction is right"}};
  json["warnings"] = {{"Description", "Warnings about the image and its field"}, {"Units", "1"}};
  json["outlier"] = {{"Description", "Columns in which its field lies far from those of others"}};
  return json.dump(2) + "\n";
}

}  // namespace mirel::dataset
