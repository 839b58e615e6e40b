// Whole `mirel correct` on a tiny pair and a series, whose values, headers and sidecars the fuzzer
// chooses: an answer, or finite results.
#include <filesystem>

#include "fuzz/smallimage.h"
#include "jobs/correctpair.h"

using namespace mirel;

namespace {

class NoProgress : public Progress {
  void at(Stage, double, const std::string&) override {}
};

CorrectPairOptions chosenOptions(fuzz::Input& input) {
  CorrectPairOptions options;
  options.version = "0";
  options.estimate.estimator = input.flag() ? Estimator::search : Estimator::massPreserving;
  options.estimate.search.fast = input.flag();
  options.estimate.search.useSsd = input.flag();
  options.estimate.motion = input.flag();
  if (input.flag()) options.estimate.modulation = input.flag() ? Modulation::on : Modulation::off;
  options.a.meanOfFirst = input.upTo(2);
  options.seriesSettings.threads = 1;
  options.seriesSettings.floatOutput = input.flag();
  options.seriesSettings.writeWarp = input.flag();
  return options;
}

std::string sidecar(const char* direction) {
  return std::string(R"({"PhaseEncodingDirection": ")") + direction +
         R"(", "TotalReadoutTime": 0.05})";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const fuzz::MemoryFolder folder;
  CorrectPairOptions options = chosenOptions(input);
  const glm::ivec3 dims = fuzz::chosenDims(input);
  folder.put("a.json", fuzz::chosenText(input, sidecar("j-")));
  folder.put("b.json", fuzz::chosenText(input, sidecar("j")));
  options.a.file = folder.put("a.nii", fuzz::chosenImage(input, dims));
  options.b.file = folder.put("b.nii", fuzz::chosenImage(input, dims));
  if (input.flag()) {
    folder.put("run.json", fuzz::chosenText(input, sidecar("j")));
    options.series.push_back({folder.put("run.nii", fuzz::chosenImage(input, dims)), {}});
  }
  options.outputFolder = folder.path("out");
  NoProgress progress;
  if (fuzz::answers([&] { correctPair(options, progress); }))
    fuzz::requireFiniteImages(options.outputFolder);
  else
    fuzz::require(!std::filesystem::exists(options.outputFolder), "a refusal that leaves files");
  return 0;
}
