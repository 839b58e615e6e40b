#include <benchmark/benchmark.h>

#include "head.h"
#include "support/fftw_binding.h"
#include "table.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  bindFftw();
  const HeadPair& head = headOf(taskSize());
  int foreground = 0;
  for (int i = 0; i < head.ap.size(); ++i) foreground += head.ap.data()[i] > 100;
  std::printf("Tasks at %dx%dx%d, %.0f %% foreground; kernels at half of it along every axis.\n",
              head.ap.nx(), head.ap.ny(), head.ap.nz(), 100.0 * foreground / head.ap.size());
  TableReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return reporter.failed() ? 1 : 0;
}
