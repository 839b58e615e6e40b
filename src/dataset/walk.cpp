#include "dataset/walk.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "base/error.h"
#include "base/inputfile.h"
#include "dataset/ignore.h"
#include "nifti/filename.h"

namespace mirel::dataset {

namespace fs = std::filesystem;

namespace {

constexpr const char* ignoreFile = ".bidsignore";
constexpr std::uintmax_t largestIgnoreFile = 1U << 20U;

std::string joined(const std::string& folder, const std::string& name) {
  return folder.empty() ? name : folder + "/" + name;
}

/// A folder as the system knows it, by whatever name it was reached.
using FolderId = std::pair<dev_t, ino_t>;

class Walk {
 public:
  explicit Walk(Index& result) : index(result) {
    const std::string file = index.fileOf(ignoreFile);
    std::error_code ignored;
    if (!fs::is_regular_file(file, ignored)) return;
    try {
      rules = IgnoreRules(readWholeFile(file, largestIgnoreFile));
    } catch (const Error& error) {
      index.warnings.emplace_back(error.what());
    }
  }

  void root() {
    const FolderId id = idOf(index.root);
    above.push_back(id);
    for (const fs::directory_entry& entry : entriesOf("")) {
      const std::string name = entry.path().filename().string();
      std::error_code ignored;
      if (fs::is_directory(entry.path(), ignored)) {
        if (!name.starts_with("sub-") || rules.ignores(name + "/")) continue;
        index.subjects.push_back(name.substr(4));
        folder(name, {name.substr(4), "", ""});
      } else {
        file(name, {});
      }
    }
  }

 private:
  struct Place {
    std::string subject, session, datatype;
  };

  static FolderId idOf(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? FolderId{status.st_dev, status.st_ino}
                                            : FolderId{0, 0};
  }

  std::vector<fs::directory_entry> entriesOf(const std::string& path) {
    std::vector<fs::directory_entry> entries;
    std::error_code failure;
    const std::string full = path.empty() ? index.root : index.fileOf(path);
    for (fs::directory_iterator entry(full, failure), end; !failure && entry != end;
         entry.increment(failure))
      if (!entry->path().filename().string().starts_with('.')) entries.push_back(*entry);
    if (failure)
      index.warnings.emplace_back(full + " cannot be listed: " + failure.message() +
                                  "; what is in it is left out");
    std::sort(entries.begin(), entries.end());
    return entries;
  }

  void folder(const std::string& path, const Place& place) {
    const FolderId id = idOf(index.fileOf(path));
    if (std::find(above.begin(), above.end(), id) != above.end()) {
      index.warnings.emplace_back(index.fileOf(path) +
                                  " is a link to a folder that it lies in: it is not followed");
      return;
    }
    above.push_back(id);
    for (const fs::directory_entry& entry : entriesOf(path)) {
      const std::string name = entry.path().filename().string(), below = joined(path, name);
      std::error_code ignored;
      if (!fs::is_directory(entry.path(), ignored)) {
        file(below, place);
      } else if (!rules.ignores(below + "/")) {
        Place inner = place;
        if (name.starts_with("ses-"))
          inner.session = name.substr(4);
        else
          inner.datatype = name;
        folder(below, inner);
      }
    }
    above.pop_back();
  }

  void file(const std::string& path, const Place& place) {
    const bool isImage = nifti::hasNiftiName(path), isJson = path.ends_with(".json");
    const bool isTable = path.ends_with("_scans.tsv");
    if ((!isImage && !isJson && !isTable) || rules.ignores(path)) return;
    const std::string stem = fs::path(path).stem().string();
    if (isJson) {
      index.sidecars[folderOf(path)].push_back({path, bids::Name::ofStem(stem)});
    } else if (isTable) {
      index.scans[folderOf(path)] = path;
    } else if (!place.subject.empty()) {
      IndexedImage image{path,          bids::Name::of(path), place.subject,
                         place.session, place.datatype,       ""};
      image.fault = faultOf(image);
      index.images.push_back(image);
    }
  }

  std::string faultOf(const IndexedImage& image) const {
    const std::string full = index.fileOf(image.path);
    std::error_code ignored;
    if (!fs::exists(full, ignored)) {
      if (!fs::is_symlink(full, ignored)) return "is not there";
      return "is a link to contents that are not here (datalad get " + image.path +
             " fetches them)";
    }
    const std::string subject = image.entity("sub"), session = image.entity("ses");
    if (subject != image.subject || session != image.session)
      return "is not of the subject and session by its name that it lies in the folder of";
    return "";
  }

  Index& index;
  IgnoreRules rules;
  std::vector<FolderId> above;
};

}  // namespace

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

void listFiles(Index& index) { Walk(index).root(); }

}  // namespace mirel::dataset
