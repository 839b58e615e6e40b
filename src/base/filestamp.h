#pragma once

#include <cstdint>
#include <string>

namespace mirel {

/// What the system says of a file at one moment (device, inode, size, times of the last changes of
/// content and of anything), by which it is noticed when the file changes later: taken before a
/// file is read and held against it afterwards, it tells that what was read is what is there.
///
/// A change that leaves all of that alone is not noticed: one within the same few milliseconds as
/// the change before, by the grain of the system's clock, or through a map of the file in memory
/// that has not been written back.
class FileStamp {
 public:
  /// Of no file: nothing is held against it.
  FileStamp() = default;
  /// As the file is now. A file that is not there gives a stamp of no file: whoever reads it says
  /// so.
  explicit FileStamp(const std::string& fileName);

  /// Empty for a stamp of no file.
  const std::string& fileName() const { return name; }
  /// Throws Error, naming the file, when it is not as it was.
  void requireUnchanged() const;

 private:
  bool operator==(const FileStamp&) const = default;

  std::string name;
  std::uint64_t device = 0, inode = 0;
  std::int64_t size = 0;
  std::int64_t contentSeconds = 0, contentNanoseconds = 0, anySeconds = 0, anyNanoseconds = 0;
};

}  // namespace mirel
