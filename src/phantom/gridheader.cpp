#include "phantom/gridheader.h"

namespace mirel {

nifti::Header headerOn(const PhantomGrid& grid, nifti::DataType type, int volumes,
                       double repetitionTimeSeconds, const std::string& description) {
  nifti::Header h;
  h.dims = grid.size;
  h.volumes = volumes;
  h.type = type;
  h.repetitionTimeSeconds = repetitionTimeSeconds;
  h.description = description;
  const glm::dvec3 origin = (glm::dvec3(grid.size) - 1.0) * grid.voxelMm * -0.5;
  glm::dmat4 affine(1.0);
  for (int axis = 0; axis < 3; ++axis) {
    affine[axis][axis] = grid.voxelMm[axis];
    affine[3][axis] = origin[axis];
  }
  h.setAffine(affine, /*code=*/1);
  return h;
}

}  // namespace mirel
