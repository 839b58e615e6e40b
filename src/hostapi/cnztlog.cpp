#include "hostapi/cnztlog.h"

#include <string>

namespace mirel {

CNZTLog::CNZTBuf::~CNZTBuf() noexcept {
  try {
    CNZTBuf::sync();
  } catch (...) {
    return;
  }
}

int CNZTLog::CNZTBuf::sync() {
  const std::string text = str();
  if (logFunction != nullptr) logFunction(text.c_str());
  str("");
  return 0;
}

CNZTLog::CNZTLog(LogFunction logFunction) : std::ostream(nullptr) {
  rdbuf(new CNZTBuf(logFunction));
}

CNZTLog::~CNZTLog() { delete rdbuf(); }

}  // namespace mirel
