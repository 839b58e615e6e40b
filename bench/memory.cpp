// How much memory an estimate and an application take at their peak, in float volumes of the
// image's size beyond what is there before: mirel_memory [size], each case in a process of its own.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "head.h"
#include "support/fftw_binding.h"
#include "vdm/estimatepair.h"
#include "vdm/vdm.h"

using namespace mirel;

namespace {

// A line of this process's memory, in KiB.
long statusKiB(const std::string& key) {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word)
    if (word == key + ":") {
      long value = 0;
      status >> value;
      return value;
    }
  return 0;
}

bool peakIsWithin(const char* work, double most, const std::function<void()>& run) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    std::ofstream("/proc/self/clear_refs") << "5";  // forget the peak of making the images
    const long before = statusKiB("VmRSS");
    run();
    const double kiBPerVolume = static_cast<double>(headOf(taskSize()).ap.sizeInBytes()) / 1024;
    const double peak = static_cast<double>(statusKiB("VmHWM") - before) / kiBPerVolume;
    std::printf("| %s | %.1f float volumes | %g |\n", work, peak, most);
    std::fflush(stdout);
    _exit(peak <= most ? 0 : 1);
  }
  int status = 1;
  waitpid(child, &status, 0);
  return status == 0;
}

void estimate(bool fast, bool useSsd) {
  EstimateOptions options;
  options.fast = fast;
  options.useSsd = useSsd;
  options.intensityCorrection = true;
  std::ostringstream log;
  const HeadPair& head = headOf(taskSize());
  estimatePair(head.ap, head.pa, glm::dvec3(2, 2, 2), options, log);
}

void apply(bool transposed) {
  const HeadPair& head = headOf(taskSize());
  applyVdm(head.vdm, head.ap, transposed, /*intensityCorrection=*/false);
}

}  // namespace

int main() {
  bindFftw();
  headOf(taskSize());
  bool ok = true;
  ok &= peakIsWithin("estimate, SSD", 40, [] { estimate(false, true); });
  ok &= peakIsWithin("estimate, NCC", 40, [] { estimate(false, false); });
  ok &= peakIsWithin("estimate, column-wise", 40, [] { estimate(true, false); });
  ok &= peakIsWithin("apply", 6, [] { apply(false); });
  ok &= peakIsWithin("apply, phase encoding along x", 6, [] { apply(true); });
  return ok ? 0 : 1;
}
