#pragma once

#include <string>

#include "dataset/index.h"

namespace mirel::dataset {

/// The step of indexDataset that goes through the folders: fills subjects, images, sidecars and
/// tables of scans of an index whose root is set, in no particular order, and adds its warnings.
void listFiles(Index& index);

/// The folder of a path from the root on; empty for the root.
std::string folderOf(const std::string& path);

}  // namespace mirel::dataset
