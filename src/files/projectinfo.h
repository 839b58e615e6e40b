#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "files/projectnames.h"

namespace mirel {

/// What a project's header says, as far as the program needs it. Values that the header does not
/// give are 0.
struct ProjectInfo {
  ProjectKind kind = ProjectKind::fmr;
  std::string fileName;
  std::string dataFileName;  ///< beside the header, named by its "Prefix:"
  int dimX = 0;              ///< voxels
  int dimY = 0;
  int dimZ = 0;
  int volumes = 0;
  float voxelXMm = 0.0f;
  float voxelYMm = 0.0f;
  float sliceThicknessMm = 0.0f;
  float sliceGapMm = 0.0f;
  int repetitionTimeMs = 0;
  int echoTimeMs = 0;
  int bytesPerSample = 2;  ///< 4: 32-bit floats, 2: 16-bit signed integers
  int displayVolume = 0;   ///< DMR only, counted from 0
  int gradientDirections = 0;

  /// "64x64x30"
  std::string dimensionText() const;
  bool sameDimensions(const ProjectInfo& other) const {
    return dimX == other.dimX && dimY == other.dimY && dimZ == other.dimZ;
  }
  /// Bytes that the data file should have.
  std::uint64_t expectedDataBytes() const;
};

/// Reads the header of the FMR or DMR project `fileName`, not its data.
///
/// Errors   Error naming the file: another extension, no such file, unreadable, or a header
///          without positive dimensions and volumes.
ProjectInfo readProjectInfo(const std::string& fileName);

/// What a user should know before the project is used, one sentence each: voxel sizes that the
/// header does not give (or that are no sizes), a data file that is shorter than the header says.
std::vector<std::string> voxelSizeWarnings(const ProjectInfo& project);
std::vector<std::string> dataFileWarnings(const ProjectInfo& project);

}  // namespace mirel
