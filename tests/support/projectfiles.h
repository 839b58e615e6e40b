#pragma once

#include <functional>
#include <string>

#include "containers/volume.h"
#include "support/temporaryfolder.h"

namespace mirel {

/// What a project for tests is made of. Sample (x, y, z) of volume t is voxel(x, y, z, t).
struct ProjectSketch {
  glm::ivec3 dims{6, 8, 4};
  int volumes = 2;
  int dataType = 2;  // 32-bit floats
  float voxelSizeX = 2, voxelSizeY = 3, sliceThickness = 2.5f, sliceGap = 0.5f;
  int displayVolume = 0;  // DMR only
  std::string moreLines;  // header lines in the main block, each with its line feed
  std::function<float(int, int, int, int)> voxel = [](int x, int y, int z, int t) {
    return static_cast<float>(1000 * t + 100 * z + 10 * y + x);
  };
};

/// Writes a project as the host application would: a header named `fileName` and the data file
/// beside it.
void writeFmr(const std::string& fileName, const ProjectSketch& sketch);
void writeDmr(const std::string& fileName, const ProjectSketch& sketch);

bool fileExists(const std::string& fileName);

}  // namespace mirel
