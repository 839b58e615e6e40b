// The geometry file beside a project, and the table of acquisitions ("%%" between them).
#include "bids/acquisitiontable.h"
#include "convert/geometryfile.h"
#include "fuzz/input.h"

using namespace mirel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::MemoryFolder folder;
  const auto sections = fuzz::sectionsOf({reinterpret_cast<const char*>(data), size}, 2);
  nifti::Header header;
  fuzz::answers([&] {
    if (const auto parsed = convert::parseGeometry(sections[0])) {
      header = *parsed;
      fuzz::require(convert::parseGeometry(convert::formatGeometry(header)).has_value(),
                    "a geometry of ours that is none");
    }
  });
  const std::string table = folder.put("acqparams.txt", sections[1]);
  fuzz::answers([&] {
    for (const bids::TableRow& row : bids::readAcquisitionTable(table))
      bids::directionIn(header, row);
  });
  return 0;
}
