#include "nifti/outfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "nifti/error.h"

namespace nifti {

namespace fs = std::filesystem;

namespace {

/// Unique in this process and, by its id, among processes that write to the same folder.
std::string hiddenName(const std::string& name) {
  static std::atomic<unsigned> counter{0};
  return "." + name + "." + std::to_string(getpid()) + "." + std::to_string(counter++) + ".part";
}

fs::path folderOf(const fs::path& file) {
  const fs::path parent = file.parent_path();
  return parent.empty() ? fs::path(".") : parent;
}

/// Looked at before anything is written, so that the fault is named instead of its consequence.
void checkTarget(const fs::path& target) {
  std::error_code ignored;
  if (target.filename().empty() || fs::is_directory(target, ignored))
    throw Error(target.string() + " is a directory, not a file to write to");
  if (!fs::is_directory(folderOf(target), ignored))
    throw Error("the folder of " + target.string() + " does not exist");
}

void renameOver(const fs::path& from, const fs::path& to) {
  std::error_code failure;
  fs::rename(from, to, failure);
  if (failure) throw Error(to.string() + " cannot be written: " + failure.message());
}

}  // namespace

OutFile::OutFile(const std::string& target) : targetName(target) {
  checkTarget(target);
  const fs::path path(target);
  temporaryName = (path.parent_path() / hiddenName(path.filename().string())).string();
  const int fd = open(temporaryName.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
  if (fd < 0) {
    committed = true;
    throw Error(target + " cannot be written: " + std::strerror(errno));
  }
  close(fd);
}

OutFile::~OutFile() {
  if (!committed) unlink(temporaryName.c_str());
}

void OutFile::write(const std::string& text) {
  std::ofstream os(temporaryName, std::ios::binary | std::ios::trunc);
  os << text;
  os.close();
  if (!os) throw Error(targetName + " cannot be written: " + std::strerror(errno));
}

void OutFile::commit() {
  renameOver(temporaryName, targetName);
  committed = true;
}

OutFolder::OutFolder(const fs::path& where) : folder(where.empty() ? fs::path(".") : where) {
  hidden = folder / hiddenName("mirel");
  std::error_code failure;
  if (!fs::is_directory(folder, failure))
    throw Error("the folder " + folder.string() + " does not exist");
  if (!fs::create_directory(hidden, failure))
    throw Error("the folder " + folder.string() + " cannot be written to: " + failure.message());
}

OutFolder::~OutFolder() {
  std::error_code ignored;
  fs::remove_all(hidden, ignored);
}

std::vector<std::string> OutFolder::commit(const std::vector<std::string>& names) {
  for (const std::string& name : names) checkTarget(folder / name);
  std::vector<std::string> paths;
  for (const std::string& name : names) {
    renameOver(hidden / name, folder / name);
    paths.push_back(folder == "." ? name : (folder / name).string());
  }
  return paths;
}

bool sameFile(const std::string& a, const std::string& b) {
  std::error_code failure;
  return fs::equivalent(a, b, failure) && !failure;
}

void refuseOverwrite(const std::string& output, const std::string& input) {
  if (sameFile(output, input)) throw Error("the output " + output + " would overwrite an input");
}

}  // namespace nifti
