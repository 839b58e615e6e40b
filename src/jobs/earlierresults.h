#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "base/outputfolder.h"
#include "jobs/runrecord.h"
#include "jobs/sourcenames.h"

namespace mirel {

/// One of the files that a result is made of.
struct ResultInput {
  std::string file;
  int volume = 0;                ///< of several
  int meanOfFirst = 0;           ///< above 1: the mean of so many volumes
  std::vector<int> joined = {};  ///< in place of both: volumes that were joined
};

/// Their names for a record.
std::vector<std::string> sourcesOf(const std::vector<ResultInput>& inputs,
                                   const SourceNames& names);

/// The names, without extension, that results of a run's images have.
struct ResultStems {
  struct Leaving {
    std::string stem, what;  ///< "the field in Hz"
  };
  std::vector<Leaving> leaving = {};  ///< go where the run has none
  std::vector<std::string> all = {};  ///< of a pair, with those that a run with other options makes
};

/// What stands in an output folder from earlier runs, by its records: the fields Sources and Mirel
/// of the sidecars beside the images.
class EarlierResults {
 public:
  /// Whether files that come from elsewhere may be replaced.
  enum class Others { kept, replaced };

  EarlierResults(const OutputFolder& folder, const SourceNames& names, Others others);

  /// Refuses to replace files that were not made of the same inputs. The same are files of the same
  /// place, or of the same bytes (SHA-256), of which the same volumes were taken; in any order.
  ///
  /// @param stem    of the result: its record is STEM.json
  /// @param files   that will be written for it
  /// An image of the same stem, compressed or not, that would share the new sidecar is in the way
  /// even where others may be replaced: it would stay, and the sidecar would not be true of it.
  ///
  /// Errors  Error, naming the file that is there and what it was made of.
  void refuseOthers(const std::string& stem, const std::vector<std::string>& files,
                    const std::vector<ResultInput>& inputs) const;

  /// Looks for results of earlier runs which this one does not make and which its settings would
  /// not give: of the same pair, or series, and those that go by their names with what this run
  /// makes: uncertainty, head and warps of a pair, warp and motion beside a series. Those that
  /// are `leaving` go with the run's success, and a note says so; of others a warning tells that
  /// they are old. Motion that the run took from there is not. Gradients of an earlier run go where
  /// the series has none now.
  ///
  /// @param pair    inputs of the run's pair; empty: there is none
  /// @param origin  what the records of this run say: originOf
  void settle(const std::vector<ResultInput>& pair, const ResultStems& stems, const Json& origin,
              OutputFolder& folder, RunRecord& run) const;

 private:
  void refuseSharedSidecar(const std::string& stem, const std::vector<std::string>& files) const;

  const OutputFolder& where;
  const SourceNames& names;
  Others others;
};

}  // namespace mirel
