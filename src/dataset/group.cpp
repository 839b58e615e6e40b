#include "dataset/group.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>

#include "base/error.h"
#include "base/joined.h"
#include "base/json.h"
#include "base/numbertext.h"
#include "bids/name.h"
#include "bids/sidecar.h"
#include "dataset/facts.h"
#include "dataset/groupfigures.h"
#include "dataset/tsv.h"
#include "jobs/reportfile.h"
#include "jobs/resultnames.h"
#include "nifti/filename.h"

namespace mirel::dataset {

namespace {

namespace fs = std::filesystem;

constexpr const char* recordEnd = ".json";

// Of a list of three numbers.
std::optional<double> lengthOf(const Json& json, const char* field) {
  const std::vector<double> parts = json.numbersOf(field);
  if (parts.empty()) return std::nullopt;
  double sum = 0;
  for (const double part : parts) sum += part * part;
  return std::sqrt(sum);
}

int warningsIn(const Json& json) {
  const Json& list = json.part("Warnings");
  return list.is_array() ? static_cast<int>(list.list().size()) : 0;
}

// The figures of a pair, from the record of any of its results.
void readPair(const Json& record, GroupRow& row) {
  const Json &verdict = record.part("Verdict"), &agreement = record.part("PairCorrelation"),
             &motion = record.part("Options").part("HeadMotion");
  row.verdict = verdict.textOf("Trust");
  row.fieldHz = verdict.numberOf("FieldHz");
  if (const auto range = verdict.numbersOf("FieldRangeHz"); range.size() == 2) {
    row.fieldLowHz = range[0];
    row.fieldHighHz = range[1];
  }
  row.displacementVoxels = verdict.numberOf("DisplacementVoxels");
  row.residual = verdict.numberOf("Residual");
  row.agreementBefore = agreement.numberOf("Before");
  row.agreementAfter = agreement.numberOf("After");
  row.motionMm = lengthOf(motion, "TranslationMm");
  row.motionDegrees = lengthOf(motion, "RotationDegrees");
  row.warnings += warningsIn(record);
}

// The path of a BIDS URI, whatever dataset it is of.
std::string pathOfUri(const std::string& uri) { return uri.substr(uri.rfind(':') + 1); }

// Both images of a pair are sources of each: which one it is its name tells.
void readImageOfPair(const Json& record, const std::vector<std::string>& sources, GroupRow& row) {
  row.field = joined(sources);
  for (const std::string& source : sources) {
    const std::string path = pathOfUri(source);
    if (row.image.starts_with(path.substr(0, path.rfind('_')))) row.source = source;
  }
  readPair(record, row);
}

// The page beside a result, from the output folder on.
std::string pageBeside(const std::string& output, const std::string& stem) {
  std::error_code ignored;
  return fs::is_regular_file(output + "/" + stem + reportEnd, ignored) ? stem + reportEnd : "";
}

// The field of a series, whose record has the figures of the pair. It may be that of another
// program, of which nothing is known.
void readField(const std::string& output, const std::string& uri, GroupRow& row) {
  constexpr const char* here = "bids::";
  if (!uri.starts_with(here)) return;
  row.field = pathOfUri(uri);
  if (!nifti::hasNiftiName(row.field)) return;
  const std::string stem = nifti::niftiStem(row.field), file = output + "/" + stem + recordEnd;
  std::error_code ignored;
  if (!fs::is_regular_file(file, ignored)) return;
  row.fieldPage = pageBeside(output, stem);
  const bids::Sidecar field(file);
  if (const Json* pair = field.json().find("Mirel")) readPair(*pair, row);
}

// Of one in which the head kept still there is no more than that it was looked for.
std::optional<double> motionWithin(const Json& series) {
  if (const auto largest = series.part("Motion").numberOf("LargestDisplacementMm")) return largest;
  const Json& found = series.part("Realignment");
  return found.is_object() && !found.contains("NotPossible") ? std::optional(0.0) : std::nullopt;
}

void readSeries(const std::string& output, const Json& series,
                const std::vector<std::string>& sources, GroupRow& row) {
  row.signCheck = series.part("SignCheck").textOf("Verdict");
  row.motionWithinMm = motionWithin(series);
  row.warnings = warningsIn(series);
  if (sources.size() > 1) readField(output, sources[1], row);
}

std::string stemOf(const std::string& output, const fs::path& record) {
  return record.lexically_relative(output).replace_extension().generic_string();
}

// Nothing for what is no record of a corrected image.
std::optional<GroupRow> rowOf(const std::string& output, const fs::path& file) {
  if (!isEpiSuffix(bids::Name::ofStem(file.stem().string()).suffix)) return std::nullopt;
  const bids::Sidecar sidecar(file.string());
  const Json* record = sidecar.json().find("Mirel");
  if (record == nullptr) return std::nullopt;
  const std::vector<std::string> sources = sidecar.texts("Sources");
  GroupRow row;
  row.image = stemOf(output, file) + imageEnd;
  row.page = pageBeside(output, stemOf(output, file));
  if (!sources.empty()) row.source = sources[0];
  if (const Json* series = record->find("Series"))
    readSeries(output, *series, sources, row);
  else
    readImageOfPair(*record, sources, row);
  return row;
}

// The JSON files of all subjects.
std::vector<fs::path> recordsIn(const std::string& output) {
  std::vector<fs::path> records;
  std::error_code failure;
  fs::recursive_directory_iterator entry(output, failure);
  if (failure) throw Error(output, "cannot be listed: " + failure.message());
  for (const fs::recursive_directory_iterator end; entry != end; entry.increment(failure)) {
    const std::string name = entry->path().filename().string();
    // What runs under way hide may be gone before it is looked at.
    if (name.starts_with('.')) entry.disable_recursion_pending();
    if (name.starts_with("sub-") && name.ends_with(recordEnd)) records.push_back(entry->path());
  }
  if (failure) throw Error(output, "cannot be listed to its end: " + failure.message());
  return records;
}

// The fields of pairs, without extension, by the images that they are made of.
using FieldsOfPairs = std::map<std::string, std::string>;

// Of a pair without a readout time it is the map in voxels.
void addField(const std::string& output, const fs::path& file, FieldsOfPairs& fields) {
  const std::string stem = stemOf(output, file);
  const bool isField =
      stem.ends_with("_fieldmap") && stem.find("_desc-uncertainty") == std::string::npos;
  if (!isField && (!stem.ends_with("_vdm") || stem.find("_desc-voxels") == std::string::npos))
    return;
  const bids::Sidecar sidecar(file.string());
  const Json& record = sidecar.json().part("Mirel");
  if (!record.is_object() || record.contains("Series")) return;
  const std::string pair = joined(sidecar.texts("Sources"));
  if (isField)
    fields[pair] = stem;
  else
    fields.emplace(pair, stem);
}

// Images of a pair tell the pair that they are of, not the field.
void findField(const std::string& output, const FieldsOfPairs& fields, GroupRow& row) {
  const auto field = fields.find(row.field);
  if (field == fields.end()) return;
  row.field = field->second + imageEnd;
  row.fieldPage = pageBeside(output, field->second);
}

double medianOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : 0.5 * (values[middle - 1] + values[middle]);
}

}  // namespace

void markOutliers(std::vector<GroupRow>& rows) {
  constexpr double farthest = 3.5, toDeviation = 1.4826;
  constexpr std::size_t fewest = 5;
  for (const GroupFigure& figure : groupFigures) {
    std::map<std::string, double> bySource;
    for (const GroupRow& row : rows)
      if (const auto& value = row.*figure.value)
        bySource.emplace(figure.isOfSeries ? row.image : row.field, *value);
    if (bySource.size() < fewest) continue;
    std::vector<double> values, deviations;
    for (const auto& [source, value] : bySource) values.push_back(value);
    const double median = medianOf(values);
    for (const double value : values) deviations.push_back(std::fabs(value - median));
    const double deviation = toDeviation * medianOf(deviations);
    for (GroupRow& row : rows)
      if (const auto& value = row.*figure.value;
          value && std::fabs(*value - median) > farthest * deviation && deviation > 0)
        row.outlier += (row.outlier.empty() ? "" : ",") + std::string(figure.name);
  }
  for (GroupRow& row : rows)
    if (row.hasOppositeSign())
      row.outlier += (row.outlier.empty() ? "" : ",") + std::string(signColumn);
}

std::vector<GroupRow> groupRows(const std::string& output) {
  std::vector<GroupRow> rows;
  FieldsOfPairs fields;
  for (const fs::path& record : recordsIn(output)) {
    if (auto row = rowOf(output, record))
      rows.push_back(std::move(*row));
    else
      addField(output, record, fields);
  }
  if (rows.empty())
    throw Error(output, "holds no corrected image: correct them first, at the level participant");
  for (GroupRow& row : rows) findField(output, fields, row);
  std::sort(rows.begin(), rows.end(),
            [](const GroupRow& a, const GroupRow& b) { return a.image < b.image; });
  markOutliers(rows);
  return rows;
}

std::string groupTsv(const std::vector<GroupRow>& rows) {
  const std::vector<GroupFigure> figures = figuresOf(rows);
  std::vector<std::string> titles = {"image", "source", "field", "verdict"};
  for (const GroupFigure& figure : figures) titles.emplace_back(figure.name);
  titles.insert(titles.end(), {signColumn, "warnings", "outlier"});
  std::string table = tsvLine(titles);
  for (const GroupRow& row : rows) {
    std::vector<std::string> cells = {row.image, row.source, row.field, row.verdict};
    for (const GroupFigure& figure : figures) {
      const auto& value = row.*figure.value;
      cells.push_back(value ? text(*value) : "");
    }
    cells.insert(cells.end(), {row.signCheck, std::to_string(row.warnings), row.outlier});
    table += tsvLine(cells);
  }
  return table;
}

std::string groupDictionary(const std::vector<GroupRow>& rows) {
  Json json = {
      {"image", {{"Description", "The corrected image, from this folder on"}}},
      {"source", {{"Description", "The image that it was made of, as a BIDS URI"}}},
      {"field", {{"Description", "The field that it was corrected with, from this folder on"}}},
      {"verdict", {{"Description", "How far the result is to be trusted"}}}};
  for (const GroupFigure& figure : figuresOf(rows))
    json[figure.name] = {{"Description", figure.meaning}, {"Units", figure.unit}};
  json[signColumn] = {{"Description", "Whether the sign of a series' direction is right"}};
  json["warnings"] = {{"Description", "Warnings about the image and its field"}, {"Units", "1"}};
  json["outlier"] = {{"Description", outlierMeaning(rows)}};
  return json.dump(2) + "\n";
}

}  // namespace mirel::dataset
