// The header of an image, from any bytes; one that is understood is written and read as the same.
#include "fuzz/input.h"
#include "nifti/header.h"

using namespace mirel;

namespace {

void expectSame(const nifti::Header& written, const nifti::Header& read) {
  fuzz::require(written.dims == read.dims && written.volumes == read.volumes, "other sizes");
  fuzz::require(written.type == read.type, "another data type");
  fuzz::require(written.qformCode == read.qformCode && written.sformCode == read.sformCode,
                "other codes");
  fuzz::require(written.description == read.description, "another description");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::answers([&] {
    const nifti::Header header = nifti::parseHeader(data, size, "fuzzed.nii").header;
    header.affine();
    const std::vector<unsigned char> bytes = nifti::formatHeader(header, "fuzzed.nii");
    expectSame(header, nifti::parseHeader(bytes.data(), bytes.size(), "again.nii").header);
  });
  return 0;
}
