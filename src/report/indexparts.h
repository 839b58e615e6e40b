#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "dataset/group.h"

/// What the page over a dataset is filled with.
namespace mirel::report {

struct IndexColumn {
  std::string name, meaning;
  bool isText = false, isFigure = false;
};
/// In the order in which they stand in a row.
std::vector<IndexColumn> indexColumns();

/// {column, name, meaning, isText} of each; `column` is its number.
Json columnsPart(const std::vector<IndexColumn>& columns, bool figuresOnly);

/// A style by which every cell says what it is on narrow screens, where there are no titles.
std::string labelsOf(const std::vector<IndexColumn>& columns);

}  // namespace mirel::report
