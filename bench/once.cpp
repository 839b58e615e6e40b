// One estimate, for tools that count instructions: mirel_once engine|reference NAME. The size is
// that of the benchmarks; scripts/instructions.sh counts what `measured` and its callees execute.
#include <cstdio>
#include <exception>
#include <string>

#include "estimates.h"
#include "support/fftw_binding.h"

using namespace mirel;

namespace {

[[gnu::noinline]] Volume<float> measured(const HeadPair& head, const std::string& who,
                                         const EstimateOptions& options) {
  return who == "engine" ? estimateByEngine(head, options) : estimateByReference(head, options);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: mirel_once engine|reference NAME\n");
    return 2;
  }
  try {
    bindFftw();
    const Volume<float> vdm = measured(headOf(taskSize()), argv[1], optionsNamed(argv[2]));
    return vdm.size() > 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
