#include "files/replacedfile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "base/error.h"

namespace mirel {

namespace fs = std::filesystem;

namespace {

/// The file behind symbolic links, be it there or not.
std::string realName(const std::string& name) {
  std::error_code failure;
  const fs::path real = fs::weakly_canonical(name, failure);
  return failure || !fs::is_symlink(name, failure) ? name : real.string();
}

bool isReplaceable(const std::string& target) {
  std::error_code failure;
  const fs::file_status status = fs::status(target, failure);
  if (status.type() == fs::file_type::not_found) return true;
  return status.type() == fs::file_type::regular && access(target.c_str(), W_OK) == 0;
}

}  // namespace

ReplacedFile::ReplacedFile(const std::string& name) : target(realName(name)) {
  if (!isReplaceable(target)) return;
  try {
    file = std::make_unique<OutFile>(target);
  } catch (const Error&) {
    return;  // in place, whose failures have words of their own
  }
  struct stat older {};
  if (stat(target.c_str(), &older) == 0) chmod(file->temporary().c_str(), older.st_mode & 07777U);
}

void ReplacedFile::commit() {
  if (file) file->commit();
}

void ReplacedFile::discard() {
  std::error_code ignored;
  if (!file && fs::is_regular_file(target, ignored)) fs::remove(target, ignored);
}

}  // namespace mirel
