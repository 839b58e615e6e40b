#include "cli/inputimage.h"

#include <utility>
#include <vector>

#include "base/error.h"
#include "base/numbertext.h"
#include "files/mapfile.h"
#include "files/project.h"
#include "nifti/filename.h"
#include "nifti/image.h"

namespace mirel {

namespace {

void requireVolume(const std::string& file, int index, std::size_t volumes) {
  if (index < 0 || static_cast<std::size_t>(index) >= volumes)
    throw Error(file, "has " + counted(volumes, "volume") + "; volume " + std::to_string(index) +
                          " (counted from 0) is not there");
}

Volume<float> niftiVolume(const std::string& file, int index) {
  nifti::Reader reader(file);
  requireVolume(file, index, static_cast<std::size_t>(reader.header().volumes));
  return reader.readVolume(index);
}

Volume<float> projectVolume(const std::string& file, int index) {
  Project project(file, ProjectContent::withData);
  std::vector<Volume<float>>& volumes = project.volumes();
  requireVolume(file, index, volumes.size());
  return std::move(volumes[static_cast<std::size_t>(index)]);
}

}  // namespace

Volume<float> readInputVolume(const std::string& file, int index) {
  if (nifti::hasNiftiName(file)) return niftiVolume(file, index);
  if (isProjectName(file)) return projectVolume(file, index);
  if (!file.ends_with(".map"))
    throw Error(file, "is neither a NIfTI image nor a project (.fmr, .dmr) nor a map (.map)");
  requireVolume(file, index, 1);
  return volumeOf(readMapFile(file));
}

}  // namespace mirel
