#pragma once

#include <string>

#include "cli/command.h"
#include "phantom/phantom.h"

namespace mirel {

/// What `mirel phantom --bids` is asked for beside the options of a single phantom.
struct DatasetRequest {
  bool asked = false;
  int subjects = 4;
  int sessions = 0;
};

/// --bids, which is returned, --subjects and --sessions.
const Option* addDatasetOptions(Command& command, DatasetRequest& request);

/// The size, voxel size and largest displacement of a dataset's images in the place of a single
/// phantom's, before options overrule them.
void takeDatasetDefaults(PhantomOptions& options);

/// Writes the dataset and tells its path. Returns an ExitStatus.
int runPhantomDataset(const DatasetRequest& request, const PhantomOptions& image,
                      const std::string& folder);

}  // namespace mirel
