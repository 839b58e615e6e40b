#include "pair/estimatelog.h"

namespace mirel {

EstimateLog::EstimateLog(const Progress& progress) : std::ostream(nullptr), buffer(progress) {
  rdbuf(&buffer);
  // What the progress throws is to reach the caller.
  exceptions(std::ios::badbit);
}

int EstimateLog::Buffer::sync() {
  const std::string entry = str();
  str("");
  if (entry.find("Starting local") != std::string::npos) progress("Estimating", 0.35);
  if (entry.find("Finished iteration") != std::string::npos)
    progress("Estimating", 0.35 + 0.21 * ++scales);
  return 0;
}

}  // namespace mirel
