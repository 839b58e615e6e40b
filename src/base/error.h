#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "base/advice.h"

namespace mirel {

/// A failure that the user can do something about, and the base of all that the engine throws for
/// files and values (broken internal contracts are std::logic_error). `what()` is one sentence
/// that names the file and the fault, without an "Error: " in front: whoever shows it adds that.
class Error : public std::runtime_error {
 public:
  /// A fault of no single file, or of one that stands within the sentence.
  explicit Error(const std::string& sentence, Advice what = {})
      : std::runtime_error(sentence), advised(what) {}
  /// "FILE FAULT".
  Error(const std::string& fileName, const std::string& fault, Advice what = {})
      : std::runtime_error(fileName + " " + fault), atFault(fileName), advised(what) {}
  /// The same about a field of the file, such as "TotalReadoutTime".
  static Error ofField(const std::string& fileName, const std::string& fieldName,
                       const std::string& fault, Advice what = {}) {
    Error error(fileName, fault, what);
    error.fieldAtFault = fieldName;
    return error;
  }

  /// Empty where the fault is of no single file.
  const std::string& file() const { return atFault; }
  /// The field of that file; mostly empty.
  const std::string& field() const { return fieldAtFault; }
  Advice advice() const { return advised; }

 private:
  std::string atFault, fieldAtFault;
  Advice advised;
};

}  // namespace mirel
