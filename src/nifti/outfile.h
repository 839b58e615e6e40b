#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace nifti {

/// A file that appears whole or not at all: it is written under a hidden name in the target's
/// own folder, and `commit` renames it over the target. Without `commit` the destructor removes
/// what was written. Throws nifti::Error when the folder does not take the file.
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
  /// Makes `text` the whole content.
  void write(const std::string& text);
  /// Call it once everything is written and closed.
  void commit();

 private:
  std::string targetName;
  std::string temporaryName;
  bool committed = false;
};

/// The same for several files that belong together: they are written into a hidden folder
/// beside the targets and renamed one after the other. The folder goes with the object.
class OutFolder {
 public:
  /// Creates the hidden folder inside `folder`.
  explicit OutFolder(const std::filesystem::path& folder);
  OutFolder(const OutFolder&) = delete;
  OutFolder& operator=(const OutFolder&) = delete;
  ~OutFolder();

  /// Where the file that will be called `name` is to be written.
  std::string path(const std::string& name) const { return (hidden / name).string(); }
  /// Moves the named files to their place, in this order, replacing what is there. Returns
  /// their final paths.
  std::vector<std::string> commit(const std::vector<std::string>& names);

 private:
  std::filesystem::path folder;
  std::filesystem::path hidden;
};

/// Whether both names lead to one existing file (links and different spellings included).
bool sameFile(const std::string& a, const std::string& b);

/// Throws nifti::Error when `output` is the existing file `input`.
void refuseOverwrite(const std::string& output, const std::string& input);

}  // namespace nifti
