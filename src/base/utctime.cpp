#include "base/utctime.h"

#include <ctime>

namespace mirel {

std::string utcTime() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[64];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &utc);
  return text;
}

}  // namespace mirel
