#include "jobs/sourcenames.h"

#include <algorithm>

#include "base/samefile.h"
#include "bids/inheritance.h"
#include "bids/sidecar.h"

namespace mirel {

namespace fs = std::filesystem;

namespace {

// By the letters of the path: the files of many datasets are links to some other place.
fs::path absolute(const fs::path& path) { return fs::absolute(path).lexically_normal(); }

fs::path folderPath(const std::string& folder) {
  const fs::path path = absolute(folder.empty() ? "." : folder);
  return path.has_filename() ? path : path.parent_path();
}

fs::path rootOf(const std::string& file) { return bids::datasetRoot(absolute(file).parent_path()); }

// The folders with their links followed, so that ".." leads where it says; the file as it is named.
std::string relativeTo(const fs::path& folder, const fs::path& path) {
  std::error_code ignored;
  const fs::path from = fs::weakly_canonical(folder, ignored);
  const fs::path parent = fs::weakly_canonical(path.parent_path(), ignored);
  return (parent / path.filename()).lexically_relative(from).generic_string();
}

bool isWithin(const fs::path& folder, const fs::path& file) {
  const fs::path relative = file.lexically_relative(folder);
  return !relative.empty() && *relative.begin() != "..";
}

}  // namespace

SourceNames::SourceNames(const std::string& where, const std::vector<std::string>& inputs,
                         Description description)
    : folder(folderPath(where)) {
  if (description == Description::written) {
    root = folder;
    linkTo(inputs);
  } else {
    root = bids::datasetRoot(folder);
    readLinks();
  }
}

void SourceNames::linkTo(const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) {
    const fs::path other = rootOf(input);
    if (other.empty() || other == root) continue;
    if (std::any_of(linked.begin(), linked.end(),
                    [&](const auto& link) { return link.second == other; }))
      continue;
    linked.emplace_back(linked.empty() ? "raw" : "raw" + std::to_string(linked.size() + 1), other);
  }
}

// A description that cannot be read has no links; it is not what the run is about.
void SourceNames::readLinks() {
  if (root.empty()) return;
  try {
    const bids::Sidecar description((root / bids::descriptionFile).string());
    const Json* links = description.json().find("DatasetLinks");
    if (links == nullptr || !links->is_object()) return;
    for (const auto& [name, place] : links->items()) {
      if (!place.is_string()) continue;
      std::string path = place.string();
      if (path.starts_with("file://")) path.erase(0, std::string("file://").size());
      if (path.empty() || path.find(':') != std::string::npos) continue;
      fs::path target = (root / path).lexically_normal();
      if (!target.has_filename()) target = target.parent_path();
      linked.emplace_back(name, target);
    }
  } catch (const std::exception&) {
    linked.clear();
  }
}

std::string SourceNames::of(const std::string& file) const {
  const fs::path path = absolute(file), dataset = rootOf(file);
  if (!dataset.empty()) {
    const std::string inside = path.lexically_relative(dataset).generic_string();
    if (dataset == root) return "bids::" + inside;
    for (const auto& [name, place] : linked)
      if (sameFile(place.string(), dataset.string())) return "bids:" + name + ":" + inside;
  }
  return relativeTo(folder, path);
}

Json SourceNames::links() const {
  Json links = Json::object();
  for (const auto& [name, place] : linked) links[name] = relativeTo(folder, place);
  return links;
}

bool mayDescribe(const std::string& where, const std::vector<std::string>& inputs) {
  const fs::path folder = folderPath(where);
  std::error_code ignored;
  const fs::path real = fs::weakly_canonical(folder, ignored);
  if (!bids::datasetRoot(folder).empty() || !bids::datasetRoot(real).empty()) return false;
  return std::none_of(inputs.begin(), inputs.end(), [&](const std::string& input) {
    return isWithin(folder, absolute(input)) ||
           isWithin(real, fs::weakly_canonical(input, ignored));
  });
}

}  // namespace mirel
