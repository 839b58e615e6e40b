#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace mirel {

/// A file that appears whole or not at all: it is written under a hidden name in the target's
/// own folder, and `commit` brings it to the disk and renames it over the target. Without `commit`
/// the destructor removes what was written. One within the hidden folder of an OutFolder comes to
/// the disk with that one's commit, all its files at once. Throws Error, naming the target and the
/// system's reason, when the folder does not take the file.
class OutFile {
 public:
  /// Creates the temporary file. `target` must not be a directory.
  explicit OutFile(const std::string& target);
  OutFile(const OutFile&) = delete;
  OutFile& operator=(const OutFile&) = delete;
  ~OutFile();

  const std::string& target() const { return targetName; }
  /// Name of the file to write to.
  const std::string& temporary() const { return temporaryName; }
  /// Appends.
  void write(const void* bytes, std::size_t count);
  void write(const std::string& text) { write(text.data(), text.size()); }
  /// Call it once everything is written and, by whoever opened `temporary` on his own, closed.
  void commit();

 private:
  [[noreturn]] void fail(int systemError) const;

  std::string targetName;
  std::string temporaryName;
  int descriptor = -1;
};

/// The same for several files that belong together: they are written, by whatever means, into a
/// hidden folder beside the targets, brought to the disk and moved to their places, all of them or
/// none (moveAll). The folder goes with the object.
class OutFolder {
 public:
  /// Creates the hidden folder inside `folder`.
  explicit OutFolder(const std::filesystem::path& folder);
  OutFolder(const OutFolder&) = delete;
  OutFolder& operator=(const OutFolder&) = delete;
  ~OutFolder();

  /// Where the file that will be called `name` is to be written.
  std::string path(const std::string& name) const { return (hidden / name).string(); }
  /// Writes a small file whole to `path(name)`.
  void write(const std::string& name, const std::string& text) const;
  /// Brings the named files to the disk, then moves them to their places, all of them or none,
  /// replacing what is there. Returns their final paths.
  std::vector<std::string> commit(const std::vector<std::string>& names);

  /// The message with the final folder in the place of the hidden one.
  std::string plain(const std::string& message) const;

 private:
  std::filesystem::path folder;
  std::filesystem::path hidden;
};

}  // namespace mirel
