#include "bids/inheritance.h"

#include <algorithm>
#include <filesystem>

#include "base/error.h"

namespace mirel::bids {

namespace fs = std::filesystem;

namespace {

/// From the dataset's root down to `own`, which is absolute; `own` alone outside datasets.
std::vector<fs::path> foldersDownTo(const fs::path& own) {
  const fs::path root = datasetRoot(own);
  std::vector<fs::path> folders = {own};
  while (!root.empty() && folders.back() != root) folders.push_back(folders.back().parent_path());
  std::reverse(folders.begin(), folders.end());
  return folders;
}

bool isSidecarOf(const fs::path& file, const Name& image) {
  return file.extension() == ".json" && applies(Name::ofStem(file.stem().string()), image);
}

/// Links that lead nowhere count, too: reading them fails and says so.
std::vector<fs::path> applicableIn(const fs::path& folder, const Name& image) {
  std::error_code failure;
  fs::directory_iterator entries(folder, failure);
  if (failure)
    throw Error(folder.string(), "cannot be searched for sidecars: " + failure.message());
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : entries)
    if (isSidecarOf(entry.path(), image)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

fs::path datasetRoot(const fs::path& folder) {
  std::error_code ignored;
  for (fs::path here = folder;; here = here.parent_path()) {
    if (fs::exists(here / descriptionFile, ignored)) return here;
    if (here == here.parent_path()) return {};
  }
}

bool applies(const Name& sidecar, const Name& image) {
  return sidecar.suffix == image.suffix &&
         std::all_of(sidecar.entities.begin(), sidecar.entities.end(), [&](const auto& entity) {
           return std::find(image.entities.begin(), image.entities.end(), entity) !=
                  image.entities.end();
         });
}

std::vector<std::string> applicableSidecars(const std::string& imageFile) {
  const fs::path image(imageFile);
  const auto shown = [&](const fs::path& file) {
    return (image.is_absolute() ? file : file.lexically_proximate(fs::current_path())).string();
  };
  const Name name = Name::of(imageFile);
  std::vector<std::string> sidecars;
  // By the letters of its path: data sets are full of links to files that are kept elsewhere.
  for (const fs::path& folder :
       foldersDownTo(fs::absolute(image).lexically_normal().parent_path())) {
    const std::vector<fs::path> files = applicableIn(folder, name);
    if (files.size() > 1)
      throw Error(shown(files[0]) + " and " + shown(files[1]) + " both describe " + imageFile +
                  ": of the sidecars in one folder only one may apply to an image");
    for (const fs::path& file : files) sidecars.push_back(shown(file));
  }
  return sidecars;
}

std::optional<Sidecar> findSidecar(const std::string& imageFile, const std::string& given) {
  if (!given.empty()) return Sidecar(given);
  std::vector<std::string> files = applicableSidecars(imageFile);
  std::error_code ignored;
  if (files.empty() && fs::is_symlink(imageFile, ignored))
    if (const fs::path target = fs::canonical(imageFile, ignored); !target.empty())
      files = applicableSidecars(target.string());
  if (files.empty()) return std::nullopt;
  return Sidecar(files);
}

}  // namespace mirel::bids
