// A diffusion project: header with its gradient table, and volumes.
#include "fuzz/project.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  mirel::fuzz::readProject({reinterpret_cast<const char*>(data), size}, "a.dmr", "a.dwi");
  return 0;
}
