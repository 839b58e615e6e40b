// Whole `mirel field` of phases or of a measured field; images, sidecars and options as the fuzzer
// chooses them.
#include "jobs/measurefield.h"

#include <filesystem>

#include "fuzz/smallimage.h"

using namespace mirel;

namespace {

// The head with values that pass for radians.
std::string chosenPhase(fuzz::Input& input, const glm::ivec3& dims) {
  std::string image = fuzz::chosenImage(input, dims);
  constexpr std::size_t slopeAt = 112;
  const float slope = 0.001F * static_cast<float>(1 + input.upTo(20));
  if (image.size() > slopeAt + sizeof slope)
    image.replace(slopeAt, sizeof slope, reinterpret_cast<const char*>(&slope), sizeof slope);
  return image;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const fuzz::MemoryFolder folder;
  MeasureFieldOptions options;
  options.version = "0";
  options.output = folder.path("out/f.nii");
  const bool isField = input.flag(), hasMagnitude = input.flag();
  const int phases = 1 + input.upTo(1);
  if (input.flag()) options.echoSeconds = {0.001 * input.upTo(40), 0.001 * input.upTo(40)};
  const glm::ivec3 dims = fuzz::chosenDims(input);
  if (isField) {
    folder.put("f.json", fuzz::chosenText(input, R"({"Units": "rad/s"})"));
    options.fieldFile = folder.put("f.nii", fuzz::chosenImage(input, dims));
  }
  for (int n = 0; !isField && n < phases; ++n) {
    const std::string name = n == 0 ? "p" : "q";
    const std::string time = n == 0 ? "0.01" : "0.012";
    const std::string usual =
        R"({"Units": "rad", "EchoTime": )" + time + R"(, "EchoTime1": 0.01, "EchoTime2": 0.012})";
    folder.put(name + ".json", fuzz::chosenText(input, usual));
    options.phaseFiles.push_back(folder.put(name + ".nii", chosenPhase(input, dims)));
  }
  if (hasMagnitude) options.magnitudeFile = folder.put("m.nii", fuzz::chosenImage(input, dims));
  if (fuzz::answers([&] { measureField(options); }))
    fuzz::requireFiniteImages(folder.path("out"));
  else
    fuzz::require(!std::filesystem::exists(folder.path("out")), "a refusal that leaves files");
  return 0;
}
