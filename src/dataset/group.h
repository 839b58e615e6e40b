#pragma once

#include <optional>
#include <string>
#include <vector>

namespace mirel::dataset {

/// What the records of an output folder say about one corrected image and the field that it was
/// corrected with.
struct GroupRow {
  std::string image;   ///< its path from the output folder on
  std::string source;  ///< the raw image, as a BIDS URI
  /// The path of the field; of an image of a pair whose field is not there its sources.
  std::string field;
  std::string verdict;  ///< "trusted", "doubtful", "do not trust"
  /// Root mean squares over the head: the field in Hz, the displacement in voxels of the pair.
  std::optional<double> fieldHz, displacementVoxels;
  std::optional<double> fieldLowHz, fieldHighHz;  ///< the range of the middle 98 % of the head
  std::optional<double> motionMm, motionDegrees;  ///< of the head between the images of the pair
  std::optional<double> agreementBefore, agreementAfter;  ///< correlation of the pair in the head
  std::optional<double> residual;                         ///< of the corrected pair
  /// The largest displacement of the head within a series, where it was looked for.
  std::optional<double> motionWithinMm;
  std::string signCheck;  ///< of a series: "right", "opposite", "undecided"
  int warnings = 0;
  /// Paths of pages from the output folder on, of the image and of the field; empty where there is
  /// none. Images of a pair have that of their field alone.
  std::string page, fieldPage;
  std::string outlier;  ///< names of the columns that mark it (markOutliers)

  bool hasOppositeSign() const { return signCheck == "opposite"; }
};

/// Reads the records of all corrected images of an output folder, sorted by path, and marks
/// outliers.
/// Errors  Error: no such folder, or one in it that cannot be listed; no corrected image in it; a
///         record that cannot be read.
std::vector<GroupRow> groupRows(const std::string& output);

/// Marks as outliers what lies more than 3.5 robust standard deviations (1.4826 times the median
/// absolute deviation; Iglewicz, Hoaglin 1993, How to Detect and Handle Outliers) from the median
/// over all fields, or over all series of what is of these. Each field counts once; fewer than five
/// tell nothing. So is a series whose sign check is opposite, whatever the others are.
void markOutliers(std::vector<GroupRow>& rows);

/// The table with a line of titles; "n/a" for what is not known. What is of series has a column
/// where one of them tells it.
std::string groupTsv(const std::vector<GroupRow>& rows);
/// What its columns mean, as JSON.
std::string groupDictionary(const std::vector<GroupRow>& rows);

}  // namespace mirel::dataset
