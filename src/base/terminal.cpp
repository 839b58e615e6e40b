#include "base/terminal.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace mirel {

bool canRedraw(int descriptor) {
  const char* terminal = std::getenv("TERM");
  return isatty(descriptor) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

}  // namespace mirel
