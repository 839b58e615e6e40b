#include "cli/axespair.h"

#include <filesystem>
#include <fstream>

namespace mirel {

std::unique_ptr<TemporaryFolder> AxesPair::inputs;

namespace {

std::string withDirectionsAlong(char axis, std::string sidecar) {
  const std::string direction = "\"PhaseEncodingDirection\": \"";
  const std::size_t at = sidecar.find(direction + "j");
  if (at != std::string::npos) sidecar[at + direction.size()] = axis;
  return sidecar;
}

}  // namespace

void AxesPair::SetUpTestSuite() {
  inputs = std::make_unique<TemporaryFolder>();
  const ProgramResult made = runMirel({"phantom",
                                       inputs->file("j"),
                                       "--size",
                                       "30",
                                       "32",
                                       "22",
                                       "--voxel",
                                       "5.9333333",
                                       "5.1615384",
                                       "6.6345678",
                                       "--readout",
                                       "0.04",
                                       "--max-shift",
                                       "3",
                                       "--volumes",
                                       "2",
                                       "--motion",
                                       "1.5",
                                       "0",
                                       "-1",
                                       "1",
                                       "-1.5",
                                       "1"});
  ASSERT_EQ(made.status, 0) << made.err;
  for (const char axis : {'i', 'k'}) {
    std::filesystem::create_directory(inputs->file(std::string(1, axis)));
    for (const char* name : {"dir-AP_epi", "dir-PA_epi", "task-rest_dir-AP_bold",
                             "desc-truth_fieldmap", "desc-brain_mask"}) {
      PlainImage(input('j', name + std::string(".nii.gz")))
          .withExchanged(1, indexOf(axis))
          .write(input(axis, name + std::string(".nii.gz")));
      std::ofstream(input(axis, name + std::string(".json")))
          << withDirectionsAlong(axis, textOf(input('j', name + std::string(".json"))));
    }
  }
}

void AxesPair::TearDownTestSuite() { inputs.reset(); }

ProgramResult AxesPair::correct(char axis, const std::vector<std::string>& options,
                                const std::string& name) const {
  std::vector<std::string> words = {"correct", ap(axis), pa(axis)};
  words.insert(words.end(), options.begin(), options.end());
  words.insert(words.end(), {"-o", file(name)});
  ProgramResult result = runMirel(words);
  EXPECT_EQ(result.status, 0) << result.err;
  return result;
}

}  // namespace mirel
