#pragma once

#include <map>
#include <string>
#include <vector>

#include "jobs/runrecord.h"

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

/// @param stems          of all results, with their folders
/// @param interpolation  of the images that are written
bool isPairUpToDate(const std::vector<std::string>& stems, const PairSource& a, const PairSource& b,
                    InterpolationKernel interpolation, const std::string& version, Checksums& sums);

/// @param stem      of the result
/// @param field     the file of the field or the map that corrects the series
/// @param settings  that it is to have been corrected with
bool isSeriesUpToDate(const std::string& stem, const std::string& series, const std::string& field,
                      const SeriesSettings& settings, const std::string& version, Checksums& sums);

/// @param stem       of the field
/// @param files      that it was measured with, in the order of their echoes
/// @param magnitude  beside these; empty: there is none
bool isMeasurementUpToDate(const std::string& stem, const std::vector<std::string>& files,
                           const std::string& magnitude, const std::string& version,
                           Checksums& sums);

/// Where the motion of the head within a series is written, beside its result: a file of the ending
/// motionEnd and its sidecar.
/// @param stem  of the result
std::string motionStemOf(const std::string& stem, const std::string& series);

/// How far a result is to be trusted by the verdict in its record: "trusted", "doubtful", "do not
/// trust"; empty where there is none.
std::string trustIn(const std::string& stem);

/// Whether there is a record of this program beside a result, so that it may be replaced.
bool isOurs(const std::string& stem);

}  // namespace mirel::dataset
