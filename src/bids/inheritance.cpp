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

bool hasAllAndMore(const Name& name, const Name& other) {
  return name.entities.size() > other.entities.size() && applies(other, name);
}

/// A choice for every folder where files apply, the farthest first.
std::vector<SidecarChoice> choicesFor(const std::string& imageFile) {
  const fs::path image(imageFile);
  const auto shown = [&](const fs::path& file) {
    return (image.is_absolute() ? file : file.lexically_proximate(fs::current_path())).string();
  };
  const Name name = Name::of(imageFile);
  std::vector<SidecarChoice> choices;
  // By the letters of its path: data sets are full of links to files that are kept elsewhere.
  for (const fs::path& folder :
       foldersDownTo(fs::absolute(image).lexically_normal().parent_path())) {
    std::vector<std::string> files;
    for (const fs::path& file : applicableIn(folder, name)) files.push_back(shown(file));
    if (!files.empty()) choices.push_back(chooseSidecar(files, imageFile));
  }
  return choices;
}

/// The same; where there are none for a link, those for the image that it leads to.
std::vector<SidecarChoice> choicesForLink(const std::string& imageFile) {
  std::vector<SidecarChoice> choices = choicesFor(imageFile);
  std::error_code ignored;
  if (choices.empty() && fs::is_symlink(imageFile, ignored))
    if (const fs::path target = fs::canonical(imageFile, ignored); !target.empty())
      choices = choicesFor(target.string());
  return choices;
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

SidecarChoice chooseSidecar(const std::vector<std::string>& files, const std::string& imageFile) {
  const auto nameOf = [](const std::string& file) {
    return Name::ofStem(fs::path(file).stem().string());
  };
  SidecarChoice choice{files.front(), {}};
  for (const std::string& file : files)
    if (hasAllAndMore(nameOf(file), nameOf(choice.counts))) choice.counts = file;
  for (const std::string& file : files) {
    if (file == choice.counts) continue;
    if (!hasAllAndMore(nameOf(choice.counts), nameOf(file)))
      throw Error(std::min(file, choice.counts) + " and " + std::max(file, choice.counts) +
                  " both describe " + imageFile +
                  ": of the sidecars in one folder only one may apply to an image, or one has to "
                  "have all that the other names have");
    choice.passedOver.push_back(file);
  }
  return choice;
}

std::vector<std::string> countingIn(const std::vector<SidecarChoice>& folders) {
  std::vector<std::string> files;
  for (const SidecarChoice& folder : folders) files.push_back(folder.counts);
  return files;
}

std::vector<std::string> passedOverIn(const std::vector<SidecarChoice>& folders) {
  std::vector<std::string> files;
  for (const SidecarChoice& folder : folders)
    files.insert(files.end(), folder.passedOver.begin(), folder.passedOver.end());
  return files;
}

std::vector<std::string> applicableSidecars(const std::string& imageFile) {
  return countingIn(choicesFor(imageFile));
}

std::vector<std::string> sidecarsPassedOver(const std::string& imageFile) {
  return passedOverIn(choicesForLink(imageFile));
}

std::optional<Sidecar> findSidecar(const std::string& imageFile, const std::string& given) {
  if (!given.empty()) return Sidecar(given);
  const std::vector<std::string> files = countingIn(choicesForLink(imageFile));
  if (files.empty()) return std::nullopt;
  return Sidecar(files);
}

}  // namespace mirel::bids
