#pragma once

#include <filesystem>
#include <functional>
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
  /// Takes that back: there is nothing to be written there after all.
  void withdraw(const std::string& name);
  bool isThere(const std::string& name) const;
  bool isAnnounced(const std::string& name) const;
  /// The path that a file of this name has or will have.
  std::string target(const std::string& name) const { return (folder / name).string(); }
  /// The paths of all announced files.
  std::vector<std::string> targets() const;
  /// Removes an older file once the announced ones are in their places.
  void retire(const std::string& name) { retired.push_back(name); }

  /// Makes the folders, runs `work`, which writes the announced files, and moves these to their
  /// places; returns their paths. Without all of them nothing stays. A failure of `work` that is an
  /// Error names the files as they would have been called.
  std::vector<std::string> write(const std::function<void()>& work);
  /// Where the announced file is to be written.
  std::string path(const std::string& name) const;
  /// Writes a small file whole.
  void writeText(const std::string& name, const std::string& text);
  /// Copies a file byte by byte. Errors: Error, naming it, when it cannot be read.
  void copy(const std::string& file, const std::string& name);

 private:
  void open();
  std::vector<std::string> commit();
  std::string plain(const std::string& message) const;

  std::filesystem::path folder;
  std::vector<std::string> names, retired;
  std::vector<std::filesystem::path> made;
  std::unique_ptr<OutFolder> files;
  bool committed = false;
};

}  // namespace mirel
