#include "files/mapset.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>

#include "base/error.h"
#include "base/outputfile.h"
#include "files/mapfile.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;

struct Batch {
  std::unique_ptr<OutFolder> folder;
  std::vector<std::string> names;
};

}  // namespace

void MapSet::write() const {
  std::map<fs::path, Batch> batches;
  for (const auto& [fileName, map] : maps) {
    const fs::path file(fileName);
    const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    const std::string name = file.filename().string();
    Batch& batch = batches[folder];
    if (!batch.folder) batch.folder = std::make_unique<OutFolder>(folder);
    try {
      writeMapFile(batch.folder->path(name), map);
    } catch (const Error& failure) {
      throw Error(batch.folder->plain(failure.what()));
    }
    if (std::find(batch.names.begin(), batch.names.end(), name) == batch.names.end())
      batch.names.push_back(name);
  }
  for (auto& [folder, batch] : batches) batch.folder->commit(batch.names);
}

}  // namespace mirel
