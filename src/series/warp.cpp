#include "series/warp.h"

#include "nifti/error.h"
#include "nifti/image.h"

namespace series {

namespace {

constexpr int vectorIntent = 1007;

}  // namespace

void writeWarpLps(const Volume<float>& shift, const nifti::Header& reference, int axis,
                  const std::string& fileName) {
  if (shift.dimensions() != reference.dims)
    throw nifti::Error(fileName +
                       " cannot be written: the map has other dimensions than the "
                       "image whose orientation the warp gets");
  nifti::Header header = reference;
  header.volumes = 1;
  header.vectorComponents = 3;
  header.intentCode = vectorIntent;
  header.repetitionTimeSeconds = 0;
  header.type = nifti::DataType::float32;
  header.slope = 1;
  header.inter = 0;
  const glm::dvec3 step(reference.affine()[axis]);
  const glm::dvec3 lpsStep(-step.x, -step.y, step.z);
  nifti::Writer writer(fileName, header);
  Volume<float> component(shift.dimensions());
  for (int c = 0; c < 3; ++c) {
    for (int n = 0; n < shift.size(); ++n)
      // + 0.0 turns a -0 of an axis without movement into 0.
      component.data()[n] =
          static_cast<float>(lpsStep[c] * static_cast<double>(shift.data()[n]) + 0.0);
    writer.write(component);
  }
  writer.finish();
}

}  // namespace series
