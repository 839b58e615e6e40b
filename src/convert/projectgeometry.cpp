#include "convert/projectgeometry.h"

#include <cmath>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "convert/geometryfile.h"

namespace mirel::convert {

namespace {

bool allSet(std::initializer_list<const Line<float>*> lines) {
  for (const Line<float>* line : lines)
    if (!line->isSet()) return false;
  return true;
}

glm::dvec3 vectorOf(const Line<float>& x, const Line<float>& y, const Line<float>& z) {
  return {double(x.value()), double(y.value()), double(z.value())};
}

/// Whether the sidecar's image is this project: its header would show the same block.
bool fits(const nifti::Header& image, const ProjectHeader& project, const PositionBlock& position) {
  if (image.dims != glm::ivec3(project.ResolutionX.value(), project.ResolutionY.value(),
                               project.NrOfSlices.value()))
    return false;
  try {
    return sameInHeader(toPositionBlock(image.affine(), image.dims, project.fileName), position);
  } catch (const Error&) {
    return false;
  }
}

double sizeOr1(double size, bool& known) {
  if (std::isfinite(size) && size > 0) return size;
  known = false;
  return 1;
}

void setVoxelSizesOnly(nifti::Header& image, const ProjectHeader& p,
                       std::vector<std::string>& notes) {
  bool known = true;
  image.voxelSizeMm.x = sizeOr1(double(p.InplaneResolutionX.value()), known);
  image.voxelSizeMm.y = sizeOr1(double(p.InplaneResolutionY.value()), known);
  image.voxelSizeMm.z =
      sizeOr1(double(p.SliceThickness.value()) + double(p.SliceGap.value()), known);
  notes.push_back(p.fileName +
                  " has no usable position block: the image has voxel sizes but no "
                  "orientation");
  if (!known) notes.push_back(p.fileName + " lacks a voxel size: 1 mm is written in its place");
}

void setGeometry(nifti::Header& image, const ProjectHeader& p, std::vector<std::string>& notes) {
  const std::optional<PositionBlock> position = positionOf(p);
  if (!position) return setVoxelSizesOnly(image, p, notes);
  const auto accept = [&](const nifti::Header& candidate) { return fits(candidate, p, *position); };
  if (const std::optional<nifti::Header> source = findGeometry(p.fileName, accept)) {
    image.version = source->version;
    image.voxelSizeMm = source->voxelSizeMm;
    image.qformCode = source->qformCode;
    image.qform = source->qform;
    image.sformCode = source->sformCode;
    image.sform = source->sform;
    image.type = source->type;
    image.description = source->description;
    // The header has whole milliseconds; the exact time counts as long as they agree.
    if (std::fabs(source->repetitionTimeSeconds - image.repetitionTimeSeconds) <= 0.000501)
      image.repetitionTimeSeconds = source->repetitionTimeSeconds;
    return;
  }
  try {
    image.setAffine(toAffine(*position, image.dims.z, p.fileName), 1);
  } catch (const Error&) {
    setVoxelSizesOnly(image, p, notes);
  }
}

}  // namespace

std::optional<PositionBlock> positionOf(const ProjectHeader& p) {
  if (!allSet({&p.Slice1CenterX, &p.Slice1CenterY, &p.Slice1CenterZ, &p.SliceNCenterX,
               &p.SliceNCenterY, &p.SliceNCenterZ, &p.RowDirX, &p.RowDirY, &p.RowDirZ, &p.ColDirX,
               &p.ColDirY, &p.ColDirZ}))
    return std::nullopt;
  PositionBlock b;
  b.coordinateSystem = p.CoordinateSystem.value();
  b.slice1Center = vectorOf(p.Slice1CenterX, p.Slice1CenterY, p.Slice1CenterZ);
  b.sliceNCenter = vectorOf(p.SliceNCenterX, p.SliceNCenterY, p.SliceNCenterZ);
  b.rowDir = vectorOf(p.RowDirX, p.RowDirY, p.RowDirZ);
  b.colDir = vectorOf(p.ColDirX, p.ColDirY, p.ColDirZ);
  b.nRows = p.ResolutionY.value();
  b.nCols = p.ResolutionX.value();
  b.fovRows = p.NRows.value() == b.nRows && p.FoVRows.value() > 0
                  ? double(p.FoVRows.value())
                  : double(p.InplaneResolutionY.value()) * b.nRows;
  b.fovCols = p.NCols.value() == b.nCols && p.FoVCols.value() > 0
                  ? double(p.FoVCols.value())
                  : double(p.InplaneResolutionX.value()) * b.nCols;
  const bool own = p.PosSliceThickness.value() > 0;
  b.sliceThickness = double(own ? p.PosSliceThickness.value() : p.SliceThickness.value());
  b.gapThickness = double(own ? p.GapThickness.value() : p.SliceGap.value());
  return b;
}

nifti::DataType sampleTypeOf(const ProjectHeader& p) {
  return p.sampleFormat() == SampleFormat::float32 ? nifti::DataType::float32
                                                   : nifti::DataType::int16;
}

nifti::Header imageHeaderOf(const ProjectHeader& p, std::vector<std::string>& notes) {
  nifti::Header image;
  image.dims = {p.ResolutionX.value(), p.ResolutionY.value(), p.NrOfSlices.value()};
  image.volumes = p.NrOfVolumes.value();
  if (image.dims.x < 1 || image.dims.y < 1 || image.dims.z < 1 || image.volumes < 1)
    throw Error(p.fileName, "has no voxels: its header says " + text(image.dims) + " in " +
                                counted(image.volumes, "volume"));
  image.repetitionTimeSeconds = std::fmax(0, p.TR.value() / 1000.0);
  image.type = sampleTypeOf(p);
  setGeometry(image, p, notes);
  return image;
}

}  // namespace mirel::convert
