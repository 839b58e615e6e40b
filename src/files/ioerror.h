#pragma once

#include <string>

#include "base/error.h"

namespace mirel {

/// The failures of project files. `what()` is the message as given: a fixed prefix and the file's
/// name, or a sentence that names the file and the numbers that are wrong.
class IOError : public Error {
 public:
  explicit IOError(const std::string& message) : Error(message) {}
};

/// A file cannot be opened for reading.
class OpenFileError : public IOError {
 public:
  explicit OpenFileError(const std::string& message) : IOError(message) {}
};

/// A file was opened, but its content cannot be used.
class ReadFileError : public IOError {
 public:
  explicit ReadFileError(const std::string& message) : IOError(message) {}
};

/// A file cannot be created or written.
class WriteFileError : public IOError {
 public:
  explicit WriteFileError(const std::string& message) : IOError(message) {}
};

}  // namespace mirel
