#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "dataset/group.h"

namespace mirel::dataset {

/// A figure of the table of a dataset.
struct GroupFigure {
  const char* name;   ///< of its column
  const char* title;  ///< for people
  std::optional<double> GroupRow::*value;
  const char* meaning;
  const char* unit;  ///< "1" for none
  /// It is of a series, not of its field, and has a column only where one of them tells it.
  bool isOfSeries = false;
};

/// In the order of their columns.
inline constexpr GroupFigure groupFigures[] = {
    {"field_hz", "Field", &GroupRow::fieldHz, "Root mean square of the field in the head", "Hz"},
    {"field_low", "Field from", &GroupRow::fieldLowHz, "1st percentile of the field in the head",
     "Hz"},
    {"field_high", "Field to", &GroupRow::fieldHighHz, "99th percentile of the field in the head",
     "Hz"},
    {"displacement", "Displacement", &GroupRow::displacementVoxels,
     "Root mean square of the pair's displacement in the head", "voxel"},
    {"motion_translation", "Translation", &GroupRow::motionMm,
     "Translation of the head between the images of the pair", "mm"},
    {"motion_rotation", "Rotation", &GroupRow::motionDegrees,
     "Rotation of the head between the images of the pair", "degree"},
    {"agreement_before", "Agreement before", &GroupRow::agreementBefore,
     "Correlation of the pair in the head as it was acquired", "1"},
    {"agreement_after", "Agreement after", &GroupRow::agreementAfter,
     "Correlation of the pair in the head when corrected", "1"},
    {"residual", "Residual", &GroupRow::residual,
     "Root mean square difference of the corrected pair over that of its mean", "1"},
    {"motion_within", "Motion within", &GroupRow::motionWithinMm,
     "Largest displacement of the head within the series", "mm", /*isOfSeries=*/true},
};

/// Those that have a column.
inline std::vector<GroupFigure> figuresOf(const std::vector<GroupRow>& rows) {
  std::vector<GroupFigure> figures;
  for (const GroupFigure& figure : groupFigures)
    if (!figure.isOfSeries || std::any_of(rows.begin(), rows.end(), [&](const GroupRow& row) {
          return (row.*figure.value).has_value();
        }))
      figures.push_back(figure);
  return figures;
}

/// The column of GroupRow::signCheck, and its title for people.
inline constexpr const char* signColumn = "sign_check";
inline constexpr const char* signTitle = "Sign";

/// Of the column outlier.
inline std::string outlierMeaning(const std::vector<GroupRow>& rows) {
  return std::string("Columns in which its field") +
         (figuresOf(rows).back().isOfSeries ? ", or the head within it," : "") +
         " lies far from those of others, and sign_check where it is opposite";
}

}  // namespace mirel::dataset
