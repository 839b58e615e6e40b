// Gradient tables: .bvec and .bval ("%%" between them), of as many volumes as the first byte says.
#include "nifti/gradients.h"

#include "fuzz/input.h"

using namespace mirel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::MemoryFolder folder;
  fuzz::Input input(data, size);
  const int volumes = input.upTo(9);
  const auto sections = fuzz::sectionsOf(input.rest(), 2);
  const std::string bvec = folder.put("a.bvec", sections[0]);
  const std::string bval = folder.put("a.bval", sections[1]);
  fuzz::answers([&] { nifti::checkGradientCount(bvec, volumes); });
  fuzz::answers([&] { nifti::checkGradientCount(bval, volumes); });
  fuzz::answers([&] {
    const nifti::GradientTable table = nifti::readGradients(bvec, bval, volumes);
    folder.put("b.bvec", nifti::formatDirections(table));
    folder.put("b.bval", nifti::formatBValues(table));
    const nifti::GradientTable again =
        nifti::readGradients(folder.path("b.bvec"), folder.path("b.bval"), volumes);
    fuzz::require(again.directions.size() == table.directions.size(), "other directions");
  });
  return 0;
}
