#include "support/projectfiles.h"

#include <cstdint>
#include <filesystem>
#include <fstream>

namespace mirel {

namespace fs = std::filesystem;

namespace {

void writeSample(std::ostream& os, float value, int dataType) {
  if (dataType == 2) {
    os.write(reinterpret_cast<const char*>(&value), sizeof value);
  } else {
    const auto sample = static_cast<std::int16_t>(value);
    os.write(reinterpret_cast<const char*>(&sample), sizeof sample);
  }
}

void writeSlice(std::ostream& os, const ProjectSketch& sketch, int z, int t) {
  for (int y = 0; y < sketch.dims.y; ++y)
    for (int x = 0; x < sketch.dims.x; ++x)
      writeSample(os, sketch.voxel(x, y, z, t), sketch.dataType);
}

void writeMainBlock(std::ostream& os, const std::string& fileName, const ProjectSketch& sketch,
                    int storageFormat) {
  os << "\nFileVersion:       5\nNrOfVolumes:       " << sketch.volumes
     << "\nNrOfSlices:        " << sketch.dims.z << "\nPrefix:            \""
     << fs::path(fileName).stem().string() << "\"\nDataStorageFormat: " << storageFormat
     << "\nDataType:          " << sketch.dataType << "\nResolutionX:       " << sketch.dims.x
     << "\nResolutionY:       " << sketch.dims.y << "\n"
     << sketch.moreLines << "InplaneResolutionX: " << sketch.voxelSizeX
     << "\nInplaneResolutionY: " << sketch.voxelSizeY
     << "\nSliceThickness:    " << sketch.sliceThickness
     << "\nSliceGap:          " << sketch.sliceGap << "\n";
}

}  // namespace

void writeFmr(const std::string& fileName, const ProjectSketch& sketch) {
  std::ofstream header(fileName);
  writeMainBlock(header, fileName, sketch, 2);
  header << "SliceTimingTableSize: 0\n";
  std::ofstream data(fs::path(fileName).replace_extension("stc"), std::ios::binary);
  for (int z = 0; z < sketch.dims.z; ++z)
    for (int t = 0; t < sketch.volumes; ++t) writeSlice(data, sketch, z, t);
}

void writeDmr(const std::string& fileName, const ProjectSketch& sketch) {
  std::ofstream header(fileName);
  writeMainBlock(header, fileName, sketch, 3);
  header << "DisplayVolume: " << sketch.displayVolume << "\nGradientInformationAvailable: NO\n";
  std::ofstream data(fs::path(fileName).replace_extension("dwi"), std::ios::binary);
  for (int t = 0; t < sketch.volumes; ++t)
    for (int z = 0; z < sketch.dims.z; ++z) writeSlice(data, sketch, z, t);
}

bool fileExists(const std::string& fileName) { return fs::exists(fileName); }

}  // namespace mirel
