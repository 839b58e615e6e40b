#pragma once

#include <string>
#include <vector>

#include "base/outputfolder.h"
#include "jobs/earlierresults.h"
#include "jobs/runreport.h"
#include "jobs/sourcenames.h"

namespace mirel {

/// What a page says about itself, so that a later run knows whose it is:
///
///   <meta name="mirel-inputs" content="KEY">
///
/// KEY is the SHA-256 of the names, for records, of the files that the results are made of, in
/// alphabetical order.
inline constexpr const char* reportKeyName = "mirel-inputs";

/// What pages say about themselves stands among so many of their first bytes.
inline constexpr std::size_t pageHeadBytes = 4096;

/// What ends the name of a page that stands beside the field or series that it is about.
inline constexpr const char* reportEnd = "_report.html";

/// The page of one run among the outputs of a folder: report.html, unless one of other inputs has
/// that name; then NAME_report.html. A page of the same inputs is replaced.
class ReportFile {
 public:
  /// Errors  those of readWholeFile, for a page that is there.
  ///
  /// @param stem  NAME, for the page that cannot have the plain name, or that stands beside one
  ///              image of a name of its own
  ReportFile(const OutputFolder& folder, const SourceNames& names,
             const std::vector<ResultInput>& madeOf, std::string stem,
             EarlierResults::Others others);

  /// Takes NAME_report.html whatever there is.
  void useOwnName() { plainNameIsOurs = false; }
  std::string name() const { return plainNameIsOurs ? "report.html" : ownName; }

  /// Errors  those of OutputFolder::announce; Error when a page of other inputs, or a file that is
  ///         no page, has the name, and others are kept.
  void announce(OutputFolder& folder, const std::vector<std::string>& inputs) const;
  /// While the folder is written, after everything else was.
  void write(RunReport& report, const RunRecord& run, OutputFolder& folder) const;

 private:
  bool isOurs(const std::string& file) const;

  std::string key, ownName;
  EarlierResults::Others others;
  bool plainNameIsOurs = true;
};

}  // namespace mirel
