#include "table.h"

#include <cstdio>
#include <utility>

namespace mirel {

namespace {

// "estimateEngine/ssd/min_time:3.000" counts as "estimateEngine/ssd".
std::string plainName(const std::string& name) {
  std::string plain = name;
  for (const char* suffix : {"/min_time:", "/iterations:"})
    if (const std::size_t at = plain.find(suffix); at != std::string::npos) plain.resize(at);
  return plain;
}

}  // namespace

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    anyFailed = anyFailed || run.error_occurred;
    if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
    const std::string name = plainName(run.benchmark_name());
    seconds[name] = run.cpu_accumulated_time / static_cast<double>(run.iterations);
    const auto amount = run.counters.find("needed");
    if (amount != run.counters.end()) needed[name] = amount->second.value;
    const auto share = run.counters.find("around_the_transforms");
    if (share != run.counters.end()) aroundTransforms[name] = share->second.value;
  }
  benchmark::ConsoleReporter::ReportRuns(runs);
}

void TableReporter::printRatio(const std::string& work, const std::string& engine,
                               const std::string& reference, double atLeast) const {
  if (!has(engine) || !has(reference)) return;
  const double fast = seconds.at(engine), slow = seconds.at(reference);
  std::printf("| %s | %.1f times the reference | ", work.c_str(), slow / fast);
  if (atLeast > 0)
    std::printf("%g times", atLeast);
  else
    std::printf("-");
  std::printf(" | %.4g | %.4g |\n", fast, slow);
}

void TableReporter::printCopy(const std::string& work, const std::string& name,
                              const std::string& format) const {
  const std::string engine = name + "/" + format, copy = "copyBlocks/" + format;
  if (!has(engine) || !has(copy)) return;
  const double own = seconds.at(engine), copying = seconds.at(copy);
  std::printf("| %s, %s | %.2f times a block copy | 0.5 times | %.4g | %.4g |\n", work.c_str(),
              format.c_str(), copying / own, own, copying);
}

// The column-wise estimate but for the transforms, which the host does for both alike.
void TableReporter::printWithoutTransforms() const {
  if (!has("columnwiseTransforms") || !has("estimateReference/fast")) return;
  const double engine = seconds.at("estimateEngine/fast");
  const double around = engine * aroundTransforms.at("columnwiseTransforms");
  const double transforms = engine - around;
  const double slow = seconds.at("estimateReference/fast");
  std::printf(
      "| its transforms, which the host does | %.0f %% of its time: at most %.1f times | - | "
      "%.4g | %.4g |\n",
      100 * transforms / engine, slow / transforms, transforms, transforms);
  std::printf("| what is around them | %.1f times the reference | - | %.4g | %.4g |\n",
              (slow - transforms) / around, around, slow - transforms);
}

// How much of the machine's limit is reached; both benchmarks say what one iteration needs.
void TableReporter::printLimit(const std::string& work, const std::string& name,
                               const std::string& unit, const std::string& machine) const {
  if (!needed.count(name) || !needed.count(machine)) return;
  const double rate = needed.at(name) / seconds.at(name) / 1e9;
  const double limit = needed.at(machine) / seconds.at(machine) / 1e9;
  std::printf("| %s | %.4g million %s | %.1f | %.1f | %.0f %% |\n", work.c_str(),
              needed.at(name) / 1e6, unit.c_str(), rate, limit, 100 * rate / limit);
}

void TableReporter::printMassPreserving() const {
  for (const auto& [work, name] :
       {std::pair{"mass-preserving estimate, motion not searched", "no_motion"},
        std::pair{"the same with the search for motion", "motion_searched"},
        std::pair{"the same of a head that moved", "motion_found"}}) {
    const std::string benchmark = std::string("massPreserving/") + name;
    if (has(benchmark)) std::printf("| %s | - | - | %.4g | - |\n", work, seconds.at(benchmark));
  }
}

void TableReporter::printLimits() const {
  std::printf("\n| kernel | cannot do without | reached, 1e9/s | machine, 1e9/s | share |\n");
  std::printf("|---|---|---|---|---|\n");
  const char* const additions = "additions (double)";
  const char* const arithmetic = "additions and products (float)";
  printLimit("sweep of the search, SSD", "sweepEngine/ssd", additions, "machineAdditions");
  printLimit("sweep of the search, NCC", "sweepEngine/ncc", arithmetic, "machineArithmetic");
  printLimit("column fits", "columnFitsEngine", arithmetic, "machineArithmetic");
  printLimit("weighted convolution", "convolutionEngine", arithmetic, "machineArithmetic");
  printLimit("linear resampling", "linearEngine", "bytes", "machineKernelStream");
  printLimit("spline resampling", "splineEngine", "bytes", "machineKernelStream");
  printLimit("intensity correction", "intensitiesEngine", "bytes", "machineKernelStream");
  printLimit("spline application of a volume", "applyEngine", "bytes", "machineTaskStream");
  printLimit("transposition of a volume", "transposition", "bytes", "machineTaskStream");
  printLimit("the machine beyond its caches", "machineMemoryStream", "bytes", "machineTaskStream");
}

void TableReporter::Finalize() {
  benchmark::ConsoleReporter::Finalize();
  std::printf("| work | reached | at least | seconds | compared with, seconds |\n");
  std::printf("|---|---|---|---|---|\n");
  const auto estimate = [this](const char* work, const std::string& name, double atLeast) {
    printRatio(work, "estimateEngine/" + name, "estimateReference/" + name, atLeast);
  };
  estimate("full estimate, SSD", "ssd", 25);
  estimate("full estimate, SSD, intensities corrected", "ssd_corrected", 25);
  estimate("full estimate, NCC", "ncc", 12);
  estimate("full estimate, NCC, intensities corrected", "ncc_corrected", 12);
  estimate("column-wise estimate", "fast", 8);
  printWithoutTransforms();
  printRatio("spline application of a volume", "applyEngine", "applyReference", 30);
  printRatio("the same, phase encoding along x", "applyEngineTransposed", "applyReference", 0);
  printMassPreserving();
  if (has("smoothingEngine"))
    std::printf(
        "| Gaussian smoothing | %.0f %% around the transforms | below 30 %% | %.4g | %.4g |\n",
        100 * aroundTransforms.at("smoothingEngine"), seconds.at("smoothingEngine"),
        has("smoothingReference") ? seconds.at("smoothingReference") : 0);
  for (const char* format : {"int16", "float32"}) {
    printCopy("reading STC", "readStc", format);
    printCopy("reading DWI", "readDwi", format);
    printCopy("writing STC", "writeStc", format);
    printCopy("writing DWI", "writeDwi", format);
  }
  const auto kernel = [this](const char* work, const std::string& name, const char* mode = "") {
    printRatio(std::string("kernel: ") + work, name + "Engine" + mode, name + "Reference" + mode,
               0);
  };
  kernel("sweep of the search, SSD", "sweep", "/ssd");
  kernel("sweep of the search, NCC", "sweep", "/ncc");
  kernel("column fits", "columnFits");
  kernel("weighted convolution", "convolution");
  kernel("linear resampling", "linear");
  kernel("spline resampling", "spline");
  kernel("intensity correction", "intensities");
  printLimits();
}

}  // namespace mirel
