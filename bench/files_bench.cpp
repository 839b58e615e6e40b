// Reading and writing the data of projects against a plain block copy of the same file. The files
// lie in the temporary folder and, once read, in the system's page cache.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "files/mydmr.h"
#include "files/myfmr.h"
#include "head.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

constexpr int volumes = 16;
constexpr std::size_t blockBytes = std::size_t{1} << 20;

struct ProjectOnDisk {
  TemporaryFolder folder;
  std::string fmr = folder.file("run.fmr"), dmr = folder.file("run.dmr");
  std::string stc = folder.file("run.stc"), dwi = folder.file("run.dwi");

  explicit ProjectOnDisk(int dataType) {
    ProjectSketch sketch;
    sketch.dims = taskSize();
    sketch.volumes = volumes;
    sketch.dataType = dataType;
    writeFmr(fmr, sketch);
    writeDmr(dmr, sketch);
  }
};

// int16 (1) or float32 (2) samples.
const ProjectOnDisk& project(int dataType) {
  static const ProjectOnDisk int16(1), float32(2);
  return dataType == 1 ? int16 : float32;
}

void countBytes(benchmark::State& state, const std::string& file) {
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(std::filesystem::file_size(file)));
}

void requireSameFiles(benchmark::State& state, const std::string& a, const std::string& b) {
  if (textOf(a) != textOf(b)) state.SkipWithError(("the copy of " + a + " differs").c_str());
}

void copyBlocks(benchmark::State& state, int dataType) {
  const std::string& from = project(dataType).stc;
  const std::string to = project(dataType).folder.file("copy.stc");
  std::vector<char> block(blockBytes);
  for (auto _ : state) {
    std::ifstream is(from, std::ios::binary);
    std::ofstream os(to, std::ios::binary);
    while (is) {
      is.read(block.data(), static_cast<std::streamsize>(block.size()));
      os.write(block.data(), is.gcount());
    }
  }
  requireSameFiles(state, from, to);
  countBytes(state, from);
}

void readStc(benchmark::State& state, int dataType) {
  FMR fmr(project(dataType).fmr, /*loadData=*/false);
  for (auto _ : state) fmr.LoadSTC();
  // The sample that the project was written with, see ProjectSketch.
  if (fmr.stcData.at(3).at(1, 2, 1) != 3121) state.SkipWithError("a wrong sample");
  countBytes(state, project(dataType).stc);
}

void readDwi(benchmark::State& state, int dataType) {
  DMR dmr(project(dataType).dmr, /*loadData=*/false);
  for (auto _ : state) dmr.LoadDWI();
  if (dmr.dwiData.at(3).at(1, 2, 1) != 3121) state.SkipWithError("a wrong sample");
  countBytes(state, project(dataType).dwi);
}

void writeStc(benchmark::State& state, int dataType) {
  FMR fmr(project(dataType).fmr, /*loadData=*/true);
  fmr.SaveAs(project(dataType).folder.file("written.fmr"));
  for (auto _ : state) fmr.Save();
  requireSameFiles(state, project(dataType).stc, project(dataType).folder.file("written.stc"));
  countBytes(state, project(dataType).stc);
}

void writeDwi(benchmark::State& state, int dataType) {
  DMR dmr(project(dataType).dmr, /*loadData=*/true);
  dmr.SaveAs(project(dataType).folder.file("written.dmr"));
  for (auto _ : state) dmr.Save();
  requireSameFiles(state, project(dataType).dwi, project(dataType).folder.file("written.dwi"));
  countBytes(state, project(dataType).dwi);
}

}  // namespace

#define MIREL_FILES(function)                                           \
  BENCHMARK_CAPTURE(function, int16, 1)->Unit(benchmark::kMillisecond); \
  BENCHMARK_CAPTURE(function, float32, 2)->Unit(benchmark::kMillisecond)
MIREL_FILES(copyBlocks);
MIREL_FILES(readStc);
MIREL_FILES(readDwi);
MIREL_FILES(writeStc);
MIREL_FILES(writeDwi);
#undef MIREL_FILES

}  // namespace mirel
