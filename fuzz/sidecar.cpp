// The sidecars of an image, one in the dataset's root and one beside the image ("%%" between them),
// and all that is asked of them.
#include "bids/sidecar.h"

#include "bids/inheritance.h"
#include "bids/intent.h"
#include "fuzz/input.h"

using namespace mirel;

namespace {

void askAll(const bids::Sidecar& sidecar, const std::string& image) {
  fuzz::answers([&] { sidecar.phaseEncoding(); });
  fuzz::answers([&] { sidecar.readout(64); });
  fuzz::answers([&] { sidecar.readout(1); });
  bids::doubtsAboutUse({{image, sidecar}}, "the field", "sub-1_task-rest_sbref.nii", sidecar);
  const std::string text = sidecar.json().dump(2, Json::NotUtf8::replaced);
  fuzz::require(Json::parse(text).has_value(), "a text of ours that is no JSON");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::MemoryFolder folder;
  static const std::string description = folder.put("dataset_description.json", "{}");
  static const std::string image = folder.put("sub-1/sub-1_task-rest_bold.nii", "");
  const auto sections = fuzz::sectionsOf({reinterpret_cast<const char*>(data), size}, 2);
  folder.put("bold.json", sections[0]);
  folder.put("sub-1/sub-1_task-rest_bold.json", sections[1]);
  fuzz::answers([&] {
    if (const auto sidecar = bids::findSidecar(image)) askAll(*sidecar, image);
  });
  return 0;
}
