#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "dataset/groupfigures.h"

/// What the page over a dataset is filled with.
namespace mirel::report {

struct IndexColumn {
  std::string name, meaning;
  bool isText = false, isFigure = false;
};
/// In the order in which they stand in a row.
std::vector<IndexColumn> indexColumns(const std::vector<dataset::GroupRow>& rows);

/// {column, name, meaning, isText} of each; `column` is its number.
Json columnsPart(const std::vector<IndexColumn>& columns, bool figuresOnly);

/// A style by which every cell says what it is on narrow screens, where there are no titles.
std::string labelsOf(const std::vector<IndexColumn>& columns);

/// One image: its thumbnail (an address; may be empty), its names, the addresses of its pages,
/// verdict, those figures that have columns, what makes it an outlier.
Json rowPart(const dataset::GroupRow& row, const std::vector<dataset::GroupFigure>& figures,
             const std::string& thumbnail);

/// {word, level, count} of every verdict that there is, and of outliers.
Json countsPart(const std::vector<dataset::GroupRow>& rows);

/// The labels of an entity ("ses") in the names of images, sorted.
Json labelsIn(const std::vector<dataset::GroupRow>& rows, const std::string& entity);

}  // namespace mirel::report
