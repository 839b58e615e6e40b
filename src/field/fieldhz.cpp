#include "field/fieldhz.h"

#include <cmath>

#include "base/error.h"
#include "nifti/image.h"

namespace mirel {

namespace {

void requireReadout(double seconds) {
  if (!(seconds > 0) || !std::isfinite(seconds))
    throw Error("a readout time of " + std::to_string(seconds) + " s is not possible");
}

}  // namespace

FieldHz readField(const std::string& fileName) {
  nifti::Reader image(fileName);
  const nifti::Header& header = image.header();
  if (header.volumes != 1)
    throw Error(fileName + " has " + std::to_string(header.volumes) +
                " volumes: a field in Hz has one");
  FieldHz field{image.readVolume(0), header.affine(), fileName, 0, hasOrientation(header)};
  voxelToVoxel(field.affine, field.affine, fileName);
  float* hz = field.hz.data();
  for (int n = 0; n < field.hz.size(); ++n)
    if (!std::isfinite(hz[n])) {
      hz[n] = 0;
      ++field.nonFinite;
    }
  if (field.nonFinite == field.hz.size())
    throw Error(fileName + " is no field: every voxel is NaN or infinite");
  return field;
}

void writeField(const FieldHz& field, const nifti::Header& reference, const std::string& fileName) {
  nifti::Header header = nifti::floatMapLike(reference);
  header.intentCode = 0;
  nifti::Writer writer(fileName, header);
  writer.write(field.hz);
  writer.finish();
}

Volume<float> shiftVoxels(const FieldHz& field, const Grid& target,
                          bids::PhaseEncodingDirection direction, double readoutSeconds,
                          Interpolation interpolation) {
  requireReadout(readoutSeconds);
  Volume<float> shift = resampleTo(target, field.hz, field.affine, field.name, interpolation);
  const double voxelsPerHz = direction.sign * readoutSeconds;
  for (int n = 0; n < shift.size(); ++n)
    shift.data()[n] = static_cast<float>(voxelsPerHz * static_cast<double>(shift.data()[n]));
  return shift;
}

Volume<float> shiftVoxels(const FieldHz& field, const nifti::Header& target,
                          bids::PhaseEncodingDirection direction, double readoutSeconds,
                          Interpolation interpolation) {
  return shiftVoxels(field, gridOf(target), direction, readoutSeconds, interpolation);
}

FieldHz fieldFromShift(const Volume<float>& shift, const Grid& grid,
                       bids::PhaseEncodingDirection direction, double readoutSeconds,
                       const std::string& name) {
  requireReadout(readoutSeconds);
  FieldHz field{shift, grid.affine, name, 0};
  const double voxelsPerHz = direction.sign * readoutSeconds;
  for (int n = 0; n < shift.size(); ++n)
    field.hz.data()[n] = static_cast<float>(static_cast<double>(shift.data()[n]) / voxelsPerHz);
  return field;
}

}  // namespace mirel
