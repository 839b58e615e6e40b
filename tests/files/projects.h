#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// Texts and data that the tests of both kinds of project start from.
namespace mirel::projects {

/// Lines 1 to 23: every label with its own width, every kind of value.
inline const std::string mainBeginning =
    "FileVersion:                   5\n"
    "NrOfVolumes:                   2\n"
    "NrOfSlices:                    2\n"
    "NrOfSkippedVolumes:            1\n"
    "Prefix:                        \"run1\"\n"
    "DataStorageFormat:             3\n"
    "DataType:                      1\n"
    "TR:                            2000\n"
    "InterSliceTime:                66\n"
    "TimeResolutionVerified:        1\n"
    "TE:                            30\n"
    "SliceAcquisitionOrder:         2\n"
    "SliceAcquisitionOrderVerified: 0\n"
    "ResolutionX:                   3\n"
    "ResolutionY:                   2\n"
    "LoadAMRFile:                   \"first vol.amr\"\n"
    "ShowAMRFile:                   1\n"
    "ImageIndex:                    0\n"
    "LayoutNColumns:                6\n"
    "LayoutNRows:                   5\n"
    "LayoutZoomLevel:               1\n"
    "SegmentSize:                   10\n"
    "SegmentOffset:                 4\n";

/// Lines 25 to 30.
inline const std::string mainEnd =
    "ProtocolFile:                  \"\"\n"
    "InplaneResolutionX:            3.5\n"
    "InplaneResolutionY:            3.25\n"
    "SliceThickness:                3\n"
    "SliceGap:                      0.75\n"
    "VoxelResolutionVerified:       1\n\n";

/// The section with lines 31 to 50.
inline const std::string position =
    "\nPositionInformationFromImageHeaders\n\n"
    "PosInfosVerified:   1\n"
    "CoordinateSystem:   2\n"
    "Slice1CenterX:      -1.5\n"
    "Slice1CenterY:      20.25\n"
    "Slice1CenterZ:      -40\n"
    "SliceNCenterX:      1.5\n"
    "SliceNCenterY:      21\n"
    "SliceNCenterZ:      1e-06\n"
    "RowDirX:            1\n"
    "RowDirY:            0\n"
    "RowDirZ:            0.125\n"
    "ColDirX:            0\n"
    "ColDirY:            0.984808\n"
    "ColDirZ:            -0.173648\n"
    "NRows:              64\n"
    "NCols:              48\n"
    "FoVRows:            224\n"
    "FoVCols:            225.5\n"
    "SliceThickness:     2.5\n"
    "GapThickness:       0.5\n\n\n";

/// Lines 51 to 53.
inline const std::string trailer =
    "NrOfPastSpatialTransformations: 0\n\n\n"
    "LeftRightConvention:            Radiological\n\n\n"
    "FirstDataSourceFile:            \"C:\\data\\ima 1.dcm\"\n\n";

inline std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  return at == std::string::npos ? "not found: " + from : text.replace(at, from.size(), to);
}

/// The bytes of samples as a data file holds them.
template <typename Sample>
std::string bytesOf(const std::vector<Sample>& samples) {
  std::string bytes(samples.size() * sizeof(Sample), '\0');
  if (!samples.empty()) std::memcpy(bytes.data(), samples.data(), bytes.size());
  return bytes;
}

/// 0, 1, 2, ... in n samples.
template <typename Sample>
std::vector<Sample> counting(std::size_t n) {
  std::vector<Sample> samples(n);
  for (std::size_t i = 0; i < n; ++i) samples[i] = static_cast<Sample>(i);
  return samples;
}

/// A header with just what the data need.
inline std::string smallHeader(int volumes, int slices, int nx, int ny, int dataType) {
  return "FileVersion: 5\nNrOfVolumes: " + std::to_string(volumes) +
         "\nNrOfSlices: " + std::to_string(slices) +
         "\nPrefix: \"run1\"\nDataStorageFormat: 3\nDataType: " + std::to_string(dataType) +
         "\nResolutionX: " + std::to_string(nx) + "\nResolutionY: " + std::to_string(ny) +
         "\nNrOfSkippedVolumes: 0\n\n";
}

}  // namespace mirel::projects
