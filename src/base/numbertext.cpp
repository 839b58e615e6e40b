#include "base/numbertext.h"

#include <cstdio>

namespace mirel {

std::string text(const char* format, double value) {
  char buffer[100];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

std::string counted(const char* format, double amount, const std::string& one) {
  const std::string number = text(format, amount);
  return number + " " + one + (number == "1" ? "" : "s");
}

}  // namespace mirel
