#include <benchmark/benchmark.h>

#include <iostream>

#include "head.h"
#include "support/fftw_binding.h"
#include "table.h"

using namespace mirel;

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  bindFftw();
  const HeadPair& head = headOf(taskSize());
  int foreground = 0;
  for (int i = 0; i < head.ap.size(); ++i) foreground += head.ap.data()[i] > 100;
  std::printf("Tasks at %dx%dx%d, %.0f %% foreground; kernels at half of it along every axis.\n\n",
              head.ap.nx(), head.ap.ny(), head.ap.nz(), 100.0 * foreground / head.ap.size());
  TableReporter reporter;
  // What is measured as it goes; standard output is left to the tables.
  reporter.SetOutputStream(&std::cerr);
  reporter.SetErrorStream(&std::cerr);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return reporter.failed() ? 1 : 0;
}
