#include "base/numbertext.h"

#include <cstdio>

namespace mirel {

std::string text(const char* format, double value) {
  char buffer[100];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

}  // namespace mirel
