#include "files/projectinfo.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "files/project.h"

namespace mirel {

namespace {

ProjectInfo readHeader(const std::string& fileName) {
  const Project project(fileName, ProjectContent::headerOnly);
  const ProjectHeader& header = project.header();
  ProjectInfo info;
  info.kind = project.kind();
  info.fileName = fileName;
  info.dataFileName = project.dataFileName();
  info.dimX = header.ResolutionX;
  info.dimY = header.ResolutionY;
  info.dimZ = header.NrOfSlices;
  info.volumes = header.NrOfVolumes;
  info.voxelXMm = header.InplaneResolutionX;
  info.voxelYMm = header.InplaneResolutionY;
  info.sliceThicknessMm = header.SliceThickness;
  info.sliceGapMm = header.SliceGap;
  info.repetitionTimeMs = header.TR;
  info.echoTimeMs = header.TE;
  info.bytesPerSample = static_cast<int>(bytesPerSample(header.sampleFormat()));
  if (const DMR* dmr = project.dmr()) {
    info.displayVolume = dmr->DisplayVolume;
    info.gradientDirections = static_cast<int>(dmr->gradientDirections.size());
  }
  return info;
}

void refuseUnreadable(const std::string& fileName) {
  if (!isProjectName(fileName))
    throw Error(fileName, "is not an FMR or DMR project (its name must end in .fmr or .dmr)");
  std::error_code error;
  if (!std::filesystem::exists(fileName, error)) throw Error("there is no file " + fileName);
  if (std::filesystem::is_directory(fileName, error))
    throw Error(fileName, "is a folder, not a project");
  if (!std::ifstream(fileName)) throw Error("cannot read the file " + fileName);
}

void warnAboutSize(float sizeMm, const std::string& key, const ProjectInfo& project,
                   std::vector<std::string>& warnings) {
  if (sizeMm > 0.0f && std::isfinite(sizeMm)) return;
  std::ostringstream warning;
  warning << project.fileName << ": the header gives no voxel size (" << key << " is " << sizeMm
          << " mm); an estimate depends on it and may be useless";
  warnings.push_back(warning.str());
}

}  // namespace

std::string ProjectInfo::dimensionText() const { return text({dimX, dimY, dimZ}, "x"); }

std::uint64_t ProjectInfo::expectedDataBytes() const {
  std::uint64_t bytes = static_cast<std::uint64_t>(bytesPerSample);
  for (const int n : {dimX, dimY, dimZ, volumes}) bytes *= static_cast<std::uint64_t>(n);
  return bytes;
}

ProjectInfo readProjectInfo(const std::string& fileName) {
  refuseUnreadable(fileName);
  ProjectInfo info;
  try {
    info = readHeader(fileName);
  } catch (const std::exception& failure) {
    throw Error("cannot read the header of " + fileName + ": " + failure.what());
  }
  if (info.dimX < 1 || info.dimY < 1 || info.dimZ < 1 || info.volumes < 1)
    throw Error("the header of " + fileName + " describes no image data (" + info.dimensionText() +
                " voxels, " + counted(info.volumes, "volume") + ")");
  return info;
}

std::vector<std::string> voxelSizeWarnings(const ProjectInfo& project) {
  std::vector<std::string> warnings;
  warnAboutSize(project.voxelXMm, "InplaneResolutionX", project, warnings);
  warnAboutSize(project.voxelYMm, "InplaneResolutionY", project, warnings);
  warnAboutSize(project.sliceThicknessMm + project.sliceGapMm, "SliceThickness + SliceGap", project,
                warnings);
  return warnings;
}

std::vector<std::string> dataFileWarnings(const ProjectInfo& project) {
  std::error_code error;
  const auto bytes = std::filesystem::file_size(project.dataFileName, error);
  if (error || bytes >= project.expectedDataBytes()) return {};
  return {project.dataFileName + " has " + std::to_string(bytes) + " bytes where " +
          project.fileName + " asks for " + std::to_string(project.expectedDataBytes()) +
          "; the missing voxels count as 0"};
}

}  // namespace mirel
