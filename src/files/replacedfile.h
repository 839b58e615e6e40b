#pragma once

#include <memory>
#include <string>

#include "base/outputfile.h"

namespace mirel {

/// A file to be written by name that takes the place of an older one whole, under all conditions
/// that writing in place knows: symbolic links are followed, the older file's permissions stay, and
/// what may not be written is not replaced. Devices, and files in folders that take no new file,
/// are written in place. An older file's other names (hard links) keep the old content.
class ReplacedFile {
 public:
  explicit ReplacedFile(const std::string& name);

  /// Where to write.
  const std::string& path() const { return file ? file->temporary() : target; }
  /// To be called when everything is written and closed.
  /// Errors  Error when it cannot be brought to the disk or to its place.
  void commit();
  /// For an output that stayed incomplete: removes it if it was written in place and is an ordinary
  /// file. A hidden one goes by itself.
  void discard();

 private:
  std::string target;
  std::unique_ptr<OutFile> file;
};

}  // namespace mirel
