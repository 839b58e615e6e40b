#include "base/filestamp.h"

#include <sys/stat.h>

#include "base/error.h"

namespace mirel {

FileStamp::FileStamp(const std::string& fileName) {
  struct stat found {};
  if (stat(fileName.c_str(), &found) != 0) return;
  name = fileName;
  device = found.st_dev;
  inode = found.st_ino;
  size = found.st_size;
  contentSeconds = found.st_mtim.tv_sec;
  contentNanoseconds = found.st_mtim.tv_nsec;
  anySeconds = found.st_ctim.tv_sec;
  anyNanoseconds = found.st_ctim.tv_nsec;
}

void FileStamp::requireUnchanged() const {
  if (name.empty() || FileStamp(name) == *this) return;
  throw Error(name, "changed while it was being used: what was made of it is not written");
}

}  // namespace mirel
