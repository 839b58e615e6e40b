#include "base/assertion.h"

#include <string>

namespace mirel {

std::logic_error assertion_failed(const char* file, int line, const char* expression) {
  return std::logic_error(std::string("assertion failure (") + file + ":" + std::to_string(line) +
                          "): " + expression);
}

}  // namespace mirel
