#include "base/outputfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "base/error.h"
#include "base/moveall.h"

namespace mirel {

namespace fs = std::filesystem;

namespace {

fs::path folderOf(const fs::path& file) {
  const fs::path parent = file.parent_path();
  return parent.empty() ? fs::path(".") : parent;
}

/// Looked at before anything is written, so that the fault is named instead of its consequence.
void checkTarget(const fs::path& target) {
  std::error_code ignored;
  if (target.filename().empty() || fs::is_directory(target, ignored))
    throw Error(target.string(), "is a directory, not a file to write to");
  if (!fs::is_directory(folderOf(target), ignored))
    throw Error("the folder of " + target.string() + " does not exist");
}

void renameOver(const fs::path& from, const fs::path& to) {
  std::error_code failure;
  fs::rename(from, to, failure);
  if (failure) throw Error(to.string(), "cannot be written: " + failure.message());
}

/// A disk may notice that it is full only now.
void bringToDisk(const fs::path& file, const fs::path& target) {
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  const bool good = descriptor >= 0 && fsync(descriptor) == 0;
  const int systemError = errno;
  if (descriptor >= 0) close(descriptor);
  if (!good)
    throw Error(target.string(), std::string("cannot be written: ") + std::strerror(systemError));
}

/// Begins to bring a file to the disk, without waiting: of many files that were begun together the
/// first that is waited for takes most others with it.
void startWriteback(const fs::path& file) {
#ifdef SYNC_FILE_RANGE_WRITE
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return;
  sync_file_range(descriptor, 0, 0, SYNC_FILE_RANGE_WRITE);
  close(descriptor);
#endif
}

/// New names reach the disk with their folder; where folders cannot be synchronised the files are
/// still whole.
void bringNamesToDisk(const fs::path& folder) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  fsync(descriptor);
  close(descriptor);
}

}  // namespace

OutFile::OutFile(const std::string& target) : targetName(target) {
  checkTarget(target);
  const fs::path folder = fs::path(target).parent_path();
  clearLeftovers(folderOf(target));
  // Names that a process of the same id has left behind are passed over.
  for (int attempt = 0; descriptor < 0; ++attempt) {
    temporaryName = (folder / hiddenName()).string();
    descriptor = open(temporaryName.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    if (descriptor < 0 && (errno != EEXIST || attempt == 1000)) fail(errno);
  }
}

OutFile::~OutFile() {
  if (descriptor < 0) return;
  close(descriptor);
  unlink(temporaryName.c_str());
}

void OutFile::fail(int systemError) const {
  throw Error(targetName, std::string("cannot be written: ") + std::strerror(systemError));
}

void OutFile::write(const void* bytes, std::size_t count) {
  const char* position = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = ::write(descriptor, position, count);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail(errno);
    position += written;
    count -= static_cast<std::size_t>(written);
  }
}

void OutFile::commit() {
  const fs::path folder = folderOf(targetName);
  const bool isOneOfMany = isHiddenName(folder.filename().string());
  // A disk may notice that it is full only now.
  if (!isOneOfMany && fsync(descriptor) != 0) fail(errno);
  renameOver(temporaryName, targetName);
  close(descriptor);
  descriptor = -1;
  if (!isOneOfMany) bringNamesToDisk(folder);
}

OutFolder::OutFolder(const fs::path& where) : folder(where.empty() ? fs::path(".") : where) {
  std::error_code failure;
  if (!fs::is_directory(folder, failure))
    throw Error("the folder " + folder.string() + " does not exist");
  clearLeftovers(folder);
  for (int attempt = 0; attempt < 1000; ++attempt) {
    hidden = folder / hiddenName();
    if (fs::create_directory(hidden, failure)) return;
    if (failure)
      throw Error("the folder " + folder.string() + " cannot be written to: " + failure.message());
  }
  throw Error("the folder " + folder.string() + " is full of " + hidden.filename().string() +
              " and the like, which an earlier run left: remove them");
}

OutFolder::~OutFolder() {
  // Looking through a folder takes memory, and its lack may be what ends this object.
  for (int attempt = 0; attempt < 2; ++attempt) {
    try {
      if (movesAreLeft(hidden)) return;
      std::error_code failure;
      fs::remove_all(hidden, failure);
      if (!failure) return;
    } catch (const std::bad_alloc&) {
      continue;
    }
  }
}

void OutFolder::write(const std::string& name, const std::string& text) const {
  try {
    OutFile file(path(name));
    file.write(text);
    file.commit();
  } catch (const Error& failure) {
    throw Error(plain(failure.what()));
  }
}

std::string OutFolder::plain(const std::string& message) const {
  std::string result = message;
  for (std::size_t at = 0; (at = result.find(hidden.string())) != std::string::npos;)
    result.replace(at, hidden.string().size(), folder.string());
  return result;
}

std::vector<std::string> OutFolder::commit(const std::vector<std::string>& names) {
  for (const std::string& name : names) checkTarget(folder / name);
  for (const std::string& name : names) startWriteback(hidden / name);
  for (const std::string& name : names) bringToDisk(hidden / name, folder / name);
  moveAll(folder, hidden, names);
  std::vector<std::string> paths;
  for (const std::string& name : names)
    paths.push_back(folder == "." ? name : (folder / name).string());
  return paths;
}

}  // namespace mirel
