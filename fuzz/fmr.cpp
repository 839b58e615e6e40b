// A functional project: header and slices.
#include "fuzz/project.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  mirel::fuzz::readProject({reinterpret_cast<const char*>(data), size}, "a.fmr", "a.stc");
  return 0;
}
