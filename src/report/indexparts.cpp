#include "report/indexparts.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>

#include "base/numbertext.h"
#include "base/percentencoded.h"
#include "bids/name.h"

namespace mirel::report {

namespace {

using dataset::GroupFigure;
using dataset::GroupRow;

struct Level {
  const char* verdict;  ///< in the table
  const char* style;
};
constexpr std::array levels = {Level{"trusted", "trusted"}, Level{"doubtful", "look"},
                               Level{"do not trust", "bad"}, Level{"not known", "unknown"}};

const Level& levelOf(const GroupRow& row) {
  const auto found = std::find_if(levels.begin(), levels.end(),
                                  [&](const Level& level) { return row.verdict == level.verdict; });
  return found == levels.end() ? levels.back() : *found;
}

// Null closes a section of a template, an empty text does not.
Json textOrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

bool isNamedIn(const std::string& list, const std::string& name) {
  return ("," + list + ",").find("," + name + ",") != std::string::npos;
}

// "field_hz,residual" in the words for people.
std::string titlesOf(const std::string& outlier) {
  std::string titles;
  for (const GroupFigure& figure : dataset::groupFigures)
    if (isNamedIn(outlier, figure.name))
      titles += (titles.empty() ? "" : ", ") + std::string(figure.title);
  if (isNamedIn(outlier, dataset::signColumn))
    titles += (titles.empty() ? "" : ", ") + std::string(dataset::signTitle);
  return titles;
}

std::string entityOf(const GroupRow& row, const std::string& key) {
  return bids::Name::of(row.image).entity(key);
}

}  // namespace

std::vector<IndexColumn> indexColumns(const std::vector<GroupRow>& rows) {
  std::vector<IndexColumn> columns = {{"Subject", "", true},
                                      {"Session", "", true},
                                      {"Image", "The corrected image", true},
                                      {"Verdict", "How far the result is to be trusted", true}};
  for (const GroupFigure& figure : dataset::figuresOf(rows)) {
    const std::string unit = figure.unit;
    columns.push_back({figure.title + (unit == "1" ? "" : " (" + unit + ")"), figure.meaning, false,
                       /*isFigure=*/true});
  }
  columns.push_back({dataset::signTitle, "Whether the sign of a series' direction is right", true});
  columns.push_back({"Warnings", "About the image and its field"});
  columns.push_back({"Outlier in", dataset::outlierMeaning(rows), true});
  return columns;
}

Json columnsPart(const std::vector<IndexColumn>& columns, bool figuresOnly) {
  Json list = Json::array();
  for (std::size_t n = 0; n < columns.size(); ++n)
    if (columns[n].isFigure || !figuresOnly)
      list.push_back(Json{{"column", std::to_string(n)},
                          {"name", columns[n].name},
                          {"meaning", columns[n].meaning},
                          {"isText", columns[n].isText}});
  return list;
}

// On narrow screens every cell says what it is.
std::string labelsOf(const std::vector<IndexColumn>& columns) {
  std::string style = "@media (max-width: 90rem) {\n";
  for (std::size_t n = 0; n < columns.size(); ++n)
    style += "  #images tbody td:nth-child(" + std::to_string(n + 1) + ")::before { content: \"" +
             columns[n].name + "\"; }\n";
  return style + "}\n";
}

Json rowPart(const GroupRow& row, const std::vector<GroupFigure>& figures,
             const std::string& thumbnail) {
  Json cells = Json::array();
  for (const GroupFigure& figure : figures) {
    const auto& value = row.*figure.value;
    cells.push_back(Json{{"text", value ? text("%.4g", *value) : "n/a"},
                         {"far", isNamedIn(row.outlier, figure.name)}});
  }
  return {{"subject", entityOf(row, "sub")},
          {"session", entityOf(row, "ses")},
          {"image", std::filesystem::path(row.image).filename().string()},
          {"thumbnail", textOrNull(thumbnail)},
          {"page", textOrNull(percentEncoded(row.page))},
          {"fieldPage", textOrNull(percentEncoded(row.fieldPage))},
          {"verdict", levelOf(row).verdict},
          {"level", levelOf(row).style},
          {"cells", cells},
          {"sign", row.signCheck},
          {"signFar", row.hasOppositeSign()},
          {"warnings", std::to_string(row.warnings)},
          {"outlier", textOrNull(titlesOf(row.outlier))}};
}

Json countsPart(const std::vector<GroupRow>& rows) {
  Json counts = Json::array();
  const auto add = [&](const char* word, const char* style, auto isOne) {
    const auto count = std::count_if(rows.begin(), rows.end(), isOne);
    if (count > 0)
      counts.push_back(Json{{"word", word}, {"level", style}, {"count", std::to_string(count)}});
  };
  for (const Level& level : levels)
    add(level.verdict, level.style, [&](const GroupRow& row) { return &levelOf(row) == &level; });
  add("outlier", "outlier", [](const GroupRow& row) { return !row.outlier.empty(); });
  return counts;
}

Json labelsIn(const std::vector<GroupRow>& rows, const std::string& key) {
  std::set<std::string> labels;
  for (const GroupRow& row : rows)
    if (const std::string label = entityOf(row, key); !label.empty()) labels.insert(label);
  return Json(std::vector<std::string>(labels.begin(), labels.end()));
}

}  // namespace mirel::report
