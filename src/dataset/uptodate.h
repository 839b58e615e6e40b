#pragma once

#include <string>

namespace mirel::dataset {

/// Whether results of an earlier run can stay, by their records: they were made by this version of
/// the program, of the same bytes of images and sidecars, of the same volumes, with the settings of
/// this command, and all files are there. A record that cannot be read means no.

struct PairSource {
  std::string file;
  int volume = 0;
};

/// @param stem  of the result whose record is looked at, with its folder
bool isPairUpToDate(const std::string& stem, const PairSource& a, const PairSource& b,
                    const std::string& version);

/// @param field  the file of the field or the map that corrects the series
bool isSeriesUpToDate(const std::string& stem, const std::string& series, const std::string& field,
                      const std::string& version);

/// Whether there is a record of this program beside a result, so that it may be replaced.
bool isOurs(const std::string& stem);

}  // namespace mirel::dataset
