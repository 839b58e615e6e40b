#pragma once

#include <cstddef>
#include <string>

/// A file that appears under its name whole or not at all. Bytes go to a temporary file in the
/// same folder; `commit` brings them to the disk and renames the file into place, replacing
/// what stood there. An object that is destroyed before that leaves the folder as it was.
///
/// Errors   HostError naming the file and the system's reason; nothing is left behind.
class WholeFile {
 public:
  explicit WholeFile(const std::string& fileName);
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;
  ~WholeFile();

  void write(const void* bytes, std::size_t count);
  void commit();

 private:
  [[noreturn]] void fail(int systemError) const;

  std::string name;
  std::string temporaryName;
  int descriptor = -1;
};
