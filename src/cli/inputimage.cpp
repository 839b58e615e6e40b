#include "cli/inputimage.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "base/error.h"
#include "convert/convert.h"
#include "files/mapfile.h"
#include "files/mydmr.h"
#include "files/myfmr.h"
#include "nifti/filename.h"
#include "nifti/image.h"

namespace mirel {

namespace {

void requireVolume(const std::string& file, int index, std::size_t volumes) {
  if (index < 0 || static_cast<std::size_t>(index) >= volumes)
    throw Error(file + " has " + std::to_string(volumes) + " volumes; volume " +
                std::to_string(index) + " (counted from 0) is not there");
}

Volume<float> niftiVolume(const std::string& file, int index) {
  nifti::Reader reader(file);
  requireVolume(file, index, static_cast<std::size_t>(reader.header().volumes));
  return reader.readVolume(index);
}

Volume<float> projectVolume(const std::string& file, int index) {
  std::vector<Volume<float>> volumes = file.ends_with(".fmr")
                                           ? std::move(FMR(file, /*loadData=*/true).stcData)
                                           : std::move(DMR(file, /*loadData=*/true).dwiData);
  requireVolume(file, index, volumes.size());
  return std::move(volumes[static_cast<std::size_t>(index)]);
}

Volume<float> mapVolume(const std::string& file) {
  const Map map = readMapFile(file);
  Volume<float> volume(map.header.dimX, map.header.dimY, map.header.dimZ);
  volume.copyData(map.values.data());
  return volume;
}

}  // namespace

Volume<float> readInputVolume(const std::string& file, int index) {
  if (nifti::hasNiftiName(file)) return niftiVolume(file, index);
  if (convert::hasProjectName(file)) return projectVolume(file, index);
  if (!file.ends_with(".map"))
    throw Error(file + " is neither a NIfTI image nor a project (.fmr, .dmr) nor a map (.map)");
  requireVolume(file, index, 1);
  return mapVolume(file);
}

Volume<float> readDisplacement(const std::string& file) {
  Volume<float> shift;
  if (nifti::hasNiftiName(file)) {
    nifti::Reader reader(file);
    if (reader.header().volumes != 1)
      throw Error(file + " has " + std::to_string(reader.header().volumes) +
                  " volumes: a displacement map has one");
    shift = reader.readVolume(0);
  } else {
    shift = mapVolume(file);
  }
  if (!std::all_of(shift.data(), shift.data() + shift.size(),
                   [](float v) { return std::isfinite(v); }))
    throw Error(file + " has voxels that are NaN or infinite");
  return shift;
}

}  // namespace mirel
