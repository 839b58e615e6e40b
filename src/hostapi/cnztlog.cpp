#include "hostapi/cnztlog.h"

#include <string>

namespace mirel {

int CNZTLog::CNZTBuf::sync() {
  const std::string text = str();
  logFunction(text.c_str());
  str("");
  return 0;
}

CNZTLog::CNZTLog(LogFunction logFunction) : std::ostream(nullptr) {
  rdbuf(new CNZTBuf(logFunction));
}

CNZTLog::~CNZTLog() { delete rdbuf(); }

}  // namespace mirel
