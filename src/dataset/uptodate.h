#pragma once

#include <map>
#include <string>
#include <vector>

namespace mirel::dataset {

/// Whether results of an earlier run can stay, by their records: they were made by this version of
/// the program, of the same bytes of images and sidecars, of the same volumes, with the settings of
/// this command, and all files are there. A record that cannot be read means no.

/// SHA-256 of files, each of which is read once: raw series are large, and several results are made
/// of one. For deciding only: what a file is later need not be what it was.
class Checksums {
 public:
  /// Errors  Error: it cannot be read.
  const std::string& of(const std::string& file);

 private:
  std::map<std::string, std::string> known;
};

struct PairSource {
  std::string file;
  int volume = 0;
};

/// @param stems  of all results, with their folders
bool isPairUpToDate(const std::vector<std::string>& stems, const PairSource& a, const PairSource& b,
                    const std::string& version, Checksums& sums);

/// @param stem   of the result
/// @param field    the file of the field or the map that corrects the series
/// @param aligned  whether the head's motion is to have been looked for
bool isSeriesUpToDate(const std::string& stem, const std::string& series, const std::string& field,
                      bool aligned, const std::string& version, Checksums& sums);

/// @param stem       of the field
/// @param files      that it was measured with, in the order of their echoes
/// @param magnitude  beside these; empty: there is none
bool isMeasurementUpToDate(const std::string& stem, const std::vector<std::string>& files,
                           const std::string& magnitude, const std::string& version,
                           Checksums& sums);

/// How far a result is to be trusted by the verdict in its record: "trusted", "doubtful", "do not
/// trust"; empty where there is none.
std::string trustIn(const std::string& stem);

/// Whether there is a record of this program beside a result, so that it may be replaced.
bool isOurs(const std::string& stem);

}  // namespace mirel::dataset
