#pragma once

#include <string>
#include <vector>

namespace mirel {

/// What is in a file. Throws std::runtime_error where there is none: two that are missing are not
/// equal.
std::string textOf(const std::string& fileName);

/// A folder that exists for one test and goes with it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  /// The full path of a file in the folder; of the folder, with a slash, for an empty name.
  std::string file(const std::string& name) const { return path + "/" + name; }

  /// Writes a file; its full path.
  std::string write(const std::string& name, const std::string& content) const;

  /// What is in a file; nothing where there is none.
  std::string read(const std::string& name) const;

  bool exists(const std::string& name) const;

  /// Names in the folder, sorted, hidden ones included.
  std::vector<std::string> names() const;

 private:
  std::string path;
};

}  // namespace mirel
