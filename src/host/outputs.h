#pragma once

#include <string>
#include <vector>

#include "files/projectinfo.h"

namespace mirel {

/// Errors   Error: the two projects are one file, or their maps would get the same name
///          (run1.fmr and run1.dmr in one folder).
void refuseSharedMaps(const std::string& projectA, const std::string& projectB);

/// Errors   Error: `project` does not have the dimensions `wanted` (such as "64x64x30") of
///          `reference`.
void refuseOtherDimensions(const ProjectInfo& project, const std::string& wanted,
                           const std::string& reference);

/// Errors   Error: a project is listed twice, or the corrected copy of one would overwrite
///          the header or the data of one of them.
void refuseOverwrittenInputs(const std::vector<ProjectInfo>& projects);

/// The files that a task is to write, watched from before it runs: the plugin does not report
/// every write that fails.
class ExpectedOutputs {
 public:
  /// Errors   Error: the folder of `fileName` cannot be written to, or the name is a folder.
  void add(const std::string& fileName);

  /// The expected files that were not written since they were added.
  std::vector<std::string> missing() const;
  std::vector<std::string> names() const;

 private:
  struct Stamp {
    bool exists = false;
    unsigned long long inode = 0;
    long long seconds = 0;
    long long nanoseconds = 0;

    bool operator==(const Stamp&) const = default;
  };
  struct Output {
    std::string name;
    Stamp before;
  };

  static Stamp stampOf(const std::string& fileName);

  std::vector<Output> outputs;
};

}  // namespace mirel
