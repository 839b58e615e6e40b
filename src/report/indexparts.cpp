#include "report/indexparts.h"

#include "dataset/groupfigures.h"

namespace mirel::report {

using dataset::GroupFigure;

std::vector<IndexColumn> indexColumns() {
  std::vector<IndexColumn> columns = {{"Subject", "", true},
                                      {"Session", "", true},
                                      {"Image", "The corrected image", true},
                                      {"Verdict", "How far the result is to be trusted", true}};
  for (const GroupFigure& figure : dataset::groupFigures) {
    const std::string unit = figure.unit;
    columns.push_back({figure.title + (unit == "1" ? "" : " (" + unit + ")"), figure.meaning, false,
                       /*isFigure=*/true});
  }
  columns.push_back({"Sign", "Whether the sign of a series' direction is right", true});
  columns.push_back({"Warnings", "About the image and its field"});
  columns.push_back(
      {"Outlier in", "Columns in which its field lies far from those of others", true});
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

}  // namespace mirel::report
