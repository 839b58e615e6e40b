#include "dataset/index.h"

#include <algorithm>
#include <filesystem>

#include "base/error.h"
#include "bids/sidecar.h"
#include "dataset/walk.h"
#include "nifti/filename.h"

namespace mirel::dataset {

namespace fs = std::filesystem;

namespace {

void tellTwins(Index& index) {
  const auto stemOf = [](const IndexedImage& image) { return nifti::niftiStem(image.path); };
  for (std::size_t n = 1; n < index.images.size(); ++n) {
    IndexedImage &one = index.images[n - 1], &other = index.images[n];
    if (stemOf(one) != stemOf(other)) continue;
    for (IndexedImage* image : {&one, &other})
      image->fault = "is there twice, as .nii and as .nii.gz: which of the two counts is not known";
  }
}

// "1.8.0", "1.11.0-dev"; what came before 1 has the same names.
bool isKnownVersion(const Json& version) {
  const std::string text = version.is_string() ? version.string() : "";
  return text.starts_with("1.") || text.starts_with("0.");
}

void lookAtDescription(Index& index) {
  const std::string file = index.fileOf(bids::descriptionFile);
  std::error_code ignored;
  index.isDescribed = fs::exists(file, ignored);
  if (!index.isDescribed) {
    index.warnings.emplace_back(index.root + " has no " + bids::descriptionFile +
                                ", as every BIDS dataset has: without it sidecars count only in "
                                "the folders of their images");
    return;
  }
  try {
    const bids::Sidecar description(file);
    if (description.json().textOf("DatasetType") == "derivative")
      throw Error(index.root,
                  "is a dataset of derivatives (DatasetType in its description): images are "
                  "corrected as they were acquired");
    const Json* version = description.json().find("BIDSVersion");
    if (version == nullptr)
      index.warnings.emplace_back(file + " does not tell the BIDSVersion");
    else if (!isKnownVersion(*version))
      index.warnings.emplace_back(file + " tells the BIDSVersion " + version->dump() +
                                  ", which is not known here: names and fields are taken for those "
                                  "of version 1");
  } catch (const Error& error) {
    if (error.file() == index.root) throw;
    index.warnings.emplace_back(error.what());
  }
}

}  // namespace

std::string IndexedImage::entity(const std::string& key) const { return name.entity(key); }

std::vector<bids::SidecarChoice> Index::choicesFor(const IndexedImage& image) const {
  std::vector<std::string> folders = {folderOf(image.path)};
  while (isDescribed && !folders.back().empty()) folders.push_back(folderOf(folders.back()));
  std::vector<bids::SidecarChoice> choices;
  for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder) {
    const auto there = sidecars.find(*folder);
    if (there == sidecars.end()) continue;
    std::vector<std::string> files;
    for (const IndexedSidecar& sidecar : there->second)
      if (bids::applies(sidecar.name, image.name)) files.push_back(fileOf(sidecar.path));
    if (!files.empty()) choices.push_back(bids::chooseSidecar(files, fileOf(image.path)));
  }
  return choices;
}

std::vector<std::string> Index::sidecarsOf(const IndexedImage& image) const {
  return bids::countingIn(choicesFor(image));
}

std::vector<std::string> Index::sidecarsPassedOver(const IndexedImage& image) const {
  return bids::passedOverIn(choicesFor(image));
}

Index indexDataset(const std::string& root) {
  Index index;
  index.root = root;
  while (index.root.size() > 1 && index.root.ends_with('/')) index.root.pop_back();
  std::error_code ignored;
  if (!fs::is_directory(index.root, ignored))
    throw Error(index.root, fs::exists(index.root, ignored)
                                ? "is a file, not the folder of a dataset"
                                : "is not there: name the folder of a dataset");
  lookAtDescription(index);
  listFiles(index);
  if (index.subjects.empty())
    throw Error(index.root, "has no folder sub-...: it is no BIDS dataset");
  std::sort(index.images.begin(), index.images.end(),
            [](const IndexedImage& a, const IndexedImage& b) { return a.path < b.path; });
  tellTwins(index);
  return index;
}

}  // namespace mirel::dataset
