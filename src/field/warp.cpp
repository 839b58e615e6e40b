#include "field/warp.h"

#include "base/error.h"
#include "nifti/finite.h"
#include "nifti/image.h"
#include "nifti/orientation.h"

namespace mirel {

namespace {

constexpr int vectorIntent = 1007;

// What a motion does to a voxel, in voxels along i, j, k.
class Movement {
 public:
  Movement(const RigidMotion& motion, glm::ivec3 dims, glm::dvec3 voxelMm)
      : rotation(motion.rotation()),
        translation(motion.translationMm),
        middle(0.5 * (glm::dvec3(dims) - 1.0)),
        edges(voxelMm) {}

  glm::dvec3 at(glm::ivec3 voxel) const {
    const glm::dvec3 mm = (glm::dvec3(voxel) - middle) * edges;
    return (rotation * mm + translation - mm) / edges;
  }

 private:
  glm::dmat3 rotation;
  glm::dvec3 translation, middle, edges;
};

}  // namespace

void writeWarpLps(const Volume<float>& shift, const nifti::Header& reference, int axis,
                  const std::string& fileName, const RigidMotion& motion) {
  if (shift.dimensions() != reference.dims)
    throw Error(fileName,
                "cannot be written: the map has other dimensions than the "
                "image whose orientation the warp gets");
  nifti::Header header = nifti::floatMapLike(reference);
  header.vectorComponents = 3;
  header.intentCode = vectorIntent;
  const glm::dmat3 steps(reference.affine());  // mm per voxel
  const Movement movement(motion, shift.dimensions(), nifti::columnLengths(reference.affine()));
  nifti::Writer writer(fileName, header);
  Volume<float> component(shift.dimensions());
  for (int c = 0; c < 3; ++c) {
    const double sign = c < 2 ? -1.0 : 1.0;  // of LPS against RAS
    int n = 0;
    for (int z = 0; z < shift.nz(); ++z)
      for (int y = 0; y < shift.ny(); ++y)
        for (int x = 0; x < shift.nx(); ++x, ++n) {
          glm::dvec3 voxels = movement.at({x, y, z});
          voxels[axis] += static_cast<double>(shift.data()[n]);
          const double mm =
              steps[0][c] * voxels.x + steps[1][c] * voxels.y + steps[2][c] * voxels.z;
          // + 0.0 turns a -0 of an axis without movement into 0.
          component.data()[n] = static_cast<float>(sign * mm + 0.0);
        }
    nifti::requireFinite(component, fileName);
    writer.write(component);
  }
  writer.finish();
}

}  // namespace mirel
