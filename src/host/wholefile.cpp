#include "host/wholefile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "host/hosterror.h"

namespace {

std::string folderOf(const std::string& fileName) {
  const std::filesystem::path folder = std::filesystem::path(fileName).parent_path();
  return folder.empty() ? "." : folder.string();
}

}  // namespace

WholeFile::WholeFile(const std::string& fileName) : name(fileName) {
  // A short name of its own: the final name with a suffix could exceed the longest file name.
  const std::string stem = folderOf(name) + "/.mirel-" + std::to_string(getpid()) + "-";
  for (int attempt = 0; descriptor < 0; ++attempt) {
    temporaryName = stem + std::to_string(attempt) + ".tmp";
    descriptor = open(temporaryName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0 && (errno != EEXIST || attempt == 1000)) fail(errno);
  }
}

WholeFile::~WholeFile() {
  if (descriptor < 0) return;
  close(descriptor);
  unlink(temporaryName.c_str());
}

void WholeFile::fail(int systemError) const {
  throw HostError("cannot write " + name + ": " + std::strerror(systemError));
}

void WholeFile::write(const void* bytes, std::size_t count) {
  const char* position = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = ::write(descriptor, position, count);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail(errno);
    position += written;
    count -= static_cast<std::size_t>(written);
  }
}

void WholeFile::commit() {
  if (fsync(descriptor) != 0 || std::rename(temporaryName.c_str(), name.c_str()) != 0) fail(errno);
  close(descriptor);
  descriptor = -1;
  // The new name itself reaches the disk with its folder; where folders cannot be synchronised
  // the file is still whole.
  const int folder = open(folderOf(name).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  fsync(folder);
  close(folder);
}
