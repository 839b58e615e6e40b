// Whole `mirel apply` of a field or a map to a tiny series; images, sidecars and options as the
// fuzzer chooses them.
#include <filesystem>

#include "fuzz/smallimage.h"
#include "jobs/applyfield.h"

using namespace mirel;

namespace {

class NoProgress : public Progress {
  void at(Stage, double, const std::string&) override {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const fuzz::MemoryFolder folder;
  ApplyFieldOptions options;
  options.version = "0";
  options.seriesSettings.threads = 1;
  options.seriesSettings.floatOutput = input.flag();
  options.seriesSettings.writeWarp = input.flag();
  options.seriesSettings.modulation = input.flag() ? Modulation::on : Modulation::off;
  const bool isMap = input.flag();
  const glm::ivec3 dims = fuzz::chosenDims(input);
  folder.put("f.json", fuzz::chosenText(input, R"({"Units": "Hz"})"));
  folder.put(
      "run.json",
      fuzz::chosenText(input, R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.05})"));
  const std::string field = folder.put("f.nii", fuzz::chosenImage(input, dims));
  (isMap ? options.mapFile : options.fieldFile) = field;
  options.series.push_back({folder.put("run.nii", fuzz::chosenImage(input, dims)), {}});
  if (input.flag()) options.reference = folder.put("ref.nii", fuzz::chosenImage(input, dims));
  options.output = folder.path("out");
  NoProgress progress;
  if (fuzz::answers([&] { applyField(options, progress); }))
    fuzz::requireFiniteImages(options.output);
  else
    fuzz::require(!std::filesystem::exists(options.output), "a refusal that leaves files");
  return 0;
}
