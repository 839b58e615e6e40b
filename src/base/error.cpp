#include "base/error.h"

namespace mirel {

Error::Error(const std::string& sentence, Advice what)
    : std::runtime_error(sentence), advised(what) {}

Error::Error(const std::string& fileName, const std::string& fault, Advice what)
    : std::runtime_error(fileName + " " + fault), atFault(fileName), advised(what) {}

Error Error::ofField(const std::string& fileName, const std::string& fieldName,
                     const std::string& fault, Advice what) {
  Error error(fileName, fault, what);
  error.fieldAtFault = fieldName;
  return error;
}

}  // namespace mirel
