// Transforms of other programs, for a series of as many volumes as the first byte says: one file,
// or a folder of matrices ("%%" between them); the second byte says whose they are.
#include <cmath>
#include <glm/geometric.hpp>

#include "fuzz/input.h"
#include "motion/readmotion.h"

using namespace mirel;

namespace {

nifti::Header headerOf(int volumes) {
  nifti::Header header;
  header.dims = {4, 4, 3};
  header.volumes = volumes;
  glm::dmat4 affine(30.0);
  affine[3] = {-45, -45, -30, 1};
  header.setAffine(affine, 1);
  return header;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::MemoryFolder folder;
  fuzz::Input input(data, size);
  const nifti::Header header = headerOf(1 + input.upTo(3));
  const int program = input.upTo(5);
  GivenMotion given;
  if (program > 0 && program < 5) given.program = static_cast<MotionProgram>(program - 1);
  if (input.flag()) given.referenceVolume = 0;
  if (program == 5) {
    const auto sections = fuzz::sectionsOf(input.rest(), 2);
    folder.put("m.mat/MAT_0000", sections[0]);
    folder.put("m.mat/MAT_0001", sections[1]);
    given.file = folder.path("m.mat");
  } else {
    given.file = folder.put("m.par", input.rest());
  }
  fuzz::answers([&] {
    const SeriesMotion motion = readSeriesMotion(given, folder.path("none.nii"), header);
    fuzz::require(motion.fromReference.size() == static_cast<std::size_t>(header.volumes),
                  "another number of motions than volumes");
    for (const glm::dmat4& m : voxelMotions(motion, header.affine()))
      for (int column = 0; column < 4; ++column)
        fuzz::require(std::isfinite(glm::length(m[column])), "a motion that is not finite");
  });
  return 0;
}
