#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/outputfile.h"

namespace mirel {

/// A folder that gets all of several files or none: they are written into a hidden folder inside
/// it and moved to their places by `commit`. Folders that do not exist are made; without `commit`
/// the destructor removes them again, with everything written.
class OutputFolder {
 public:
  /// Creates nothing yet. Throws Error when `folder` is a file, cannot be made or cannot
  /// be written to.
  explicit OutputFolder(const std::string& folder);
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;
  ~OutputFolder();

  /// Announces a file. Throws Error when it was announced before, is a folder, or would
  /// overwrite one of the inputs.
  void announce(const std::string& name, const std::vector<std::string>& inputs);
  bool isThere(const std::string& name) const;

  /// Makes the folders. To be called before `path`.
  void open();
  /// Where the announced file is to be written.
  std::string path(const std::string& name) const;
  /// Writes a small file whole.
  void writeText(const std::string& name, const std::string& text);
  /// Moves the announced files to their places and returns their paths.
  std::vector<std::string> commit();

  /// The message without the hidden folder in its file names.
  std::string plain(const std::string& message) const;

 private:
  std::filesystem::path folder;
  std::vector<std::string> names;
  std::vector<std::filesystem::path> made;
  std::unique_ptr<OutFolder> files;
  bool committed = false;
};

}  // namespace mirel
