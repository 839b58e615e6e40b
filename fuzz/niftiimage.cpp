// A whole image file, plain or compressed: read to its end, and back to the first volume.
#include "fuzz/input.h"
#include "nifti/image.h"

using namespace mirel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  static const fuzz::MemoryFolder folder;
  const bool compressed = size > 1 && data[0] == 0x1f && data[1] == 0x8b;
  const std::string file = folder.put(compressed ? "a.nii.gz" : "a.nii", bytes);
  fuzz::answers([&] {
    nifti::Reader image(file, nifti::Contents::vectorsToo);
    Volume<float> volume;
    // Compressed zeros are as many volumes as a header likes.
    const int count = std::min(image.storedVolumes(), 16);
    for (int t = 0; t < count; ++t) image.readVolume(t, volume);
    image.readVolume(0, volume);
    fuzz::require(volume.dimensions() == image.header().dims, "a volume of other dimensions");
  });
  return 0;
}
