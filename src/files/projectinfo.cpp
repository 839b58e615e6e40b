#include "files/projectinfo.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/dimensions.h"
#include "base/error.h"
#include "files/mydmr.h"
#include "files/myfmr.h"

namespace mirel {

namespace {

bool endsWith(const std::string& name, const std::string& extension) {
  return name.size() >= extension.size() && name.ends_with(extension);
}

/// The value of a header line, or 0 (the empty text) when the header does not have it.
template <typename T>
T valueOf(const Line<T>& line) {
  return line.isSet() ? line.value() : T();
}

std::string besideHeader(const std::string& header, const std::string& dataName) {
  const std::size_t separator = header.find_last_of("/\\");
  return separator == std::string::npos ? dataName : header.substr(0, separator + 1) + dataName;
}

template <typename Project>
ProjectInfo infoOf(const Project& project, const std::string& fileName,
                   const std::string& dataExtension) {
  ProjectInfo info;
  info.fileName = fileName;
  info.dataFileName = besideHeader(fileName, valueOf(project.Prefix) + dataExtension);
  info.dimX = valueOf(project.ResolutionX);
  info.dimY = valueOf(project.ResolutionY);
  info.dimZ = valueOf(project.NrOfSlices);
  info.volumes = valueOf(project.NrOfVolumes);
  info.voxelXMm = valueOf(project.InplaneResolutionX);
  info.voxelYMm = valueOf(project.InplaneResolutionY);
  info.sliceThicknessMm = valueOf(project.SliceThickness);
  info.sliceGapMm = valueOf(project.SliceGap);
  info.repetitionTimeMs = valueOf(project.TR);
  info.echoTimeMs = valueOf(project.TE);
  info.bytesPerSample = valueOf(project.DataType) == 2 ? 4 : 2;
  return info;
}

ProjectInfo readHeader(const std::string& fileName) {
  if (endsWith(fileName, ".fmr")) {
    const FMR project(fileName, /*loadData=*/false);
    return infoOf(project, fileName, ".stc");
  }
  const DMR project(fileName, /*loadData=*/false);
  ProjectInfo info = infoOf(project, fileName, ".dwi");
  info.kind = ProjectInfo::Kind::dmr;
  info.displayVolume = valueOf(project.DisplayVolume);
  info.gradientDirections = static_cast<int>(project.gradientDirections.size());
  return info;
}

void refuseUnreadable(const std::string& fileName) {
  if (!isProjectName(fileName))
    throw Error(fileName + " is not an FMR or DMR project (its name must end in .fmr or .dmr)");
  std::error_code error;
  if (!std::filesystem::exists(fileName, error)) throw Error("there is no file " + fileName);
  if (std::filesystem::is_directory(fileName, error))
    throw Error(fileName + " is a folder, not a project");
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

bool isProjectName(const std::string& fileName) {
  return endsWith(fileName, ".fmr") || endsWith(fileName, ".dmr");
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
                " voxels, " + std::to_string(info.volumes) + " volumes)");
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
