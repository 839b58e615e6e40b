#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <glm/vec3.hpp>
#include <string>
#include <vector>

#include "containers/volume.h"
#include "files/line.h"
#include "files/rawdata.h"

namespace mirel {

/// What functional and diffusion projects have in common: the header lines, the position block,
/// and the care that is taken with sizes, volumes and files. A header is text:
///
///   header   = { line | position | other }      tokens separated by white space
///   position = "PositionInformationFromImageHeaders" { line | other } up to "GapThickness:"
///
/// Each line is a public member named after its key. Before reading, every line is unset and
/// `FileVersion` is -1.
class ProjectHeader {
 public:
  std::string fileName;

  // Main block.
  Line<int> FileVersion, NrOfVolumes, NrOfSlices, NrOfSkippedVolumes;
  Line<std::string> Prefix;
  Line<int> DataStorageFormat, DataType, TR, InterSliceTime;
  Line<bool> TimeResolutionVerified;
  Line<int> TE, SliceAcquisitionOrder;
  Line<bool> SliceAcquisitionOrderVerified;
  Line<int> ResolutionX, ResolutionY;
  Line<std::string> LoadAMRFile;
  Line<bool> ShowAMRFile;
  Line<int> ImageIndex, LayoutNColumns, LayoutNRows, LayoutZoomLevel, SegmentSize, SegmentOffset;
  Line<std::string> ProtocolFile;
  Line<float> InplaneResolutionX, InplaneResolutionY, SliceThickness, SliceGap;
  Line<bool> VoxelResolutionVerified;

  // Position block.
  Line<bool> PosInfosVerified;
  Line<int> CoordinateSystem;
  Line<float> Slice1CenterX, Slice1CenterY, Slice1CenterZ;
  Line<float> SliceNCenterX, SliceNCenterY, SliceNCenterZ;
  Line<float> RowDirX, RowDirY, RowDirZ;
  Line<float> ColDirX, ColDirY, ColDirZ;
  Line<int> NRows, NCols;
  Line<float> FoVRows, FoVCols, PosSliceThickness, GapThickness;

  // Trailer.
  Line<int> NrOfPastSpatialTransformations;
  Line<std::string> LeftRightConvention, FirstDataSourceFile;

  glm::ivec3 dimensions() const { return {ResolutionX, ResolutionY, NrOfSlices}; }
  /// Samples are 32-bit floats when DataType is set and 2, otherwise 16-bit integers.
  SampleFormat sampleFormat() const;
  /// The directory of `fileName` + Prefix + `extension` (with its dot).
  std::string dataFileName(const std::string& extension) const;

 protected:
  explicit ProjectHeader(std::string name);

  /// Opens `fileName` as text, in the classic locale. Errors: OpenFileError "Failed opening for
  /// reading: " + name (a directory counts as one that cannot be opened).
  std::ifstream openHeader() const;
  /// Reads the line that `token` introduces, if it is a common one of the main block.
  void readMainLine(std::istream& is, const std::string& token);
  /// When `token` is the section's name: reads tokens and position lines up to and including the
  /// "GapThickness:" line, or to the end of the file where there is none. `token` becomes the
  /// last token read.
  void readPositionBlock(std::istream& is, std::string& token);
  /// Reads the line that `token` introduces, if it is a common one of the trailer.
  void readTrailerLine(std::istream& is, const std::string& token);

  /// The main block's lines before and after the one in which the two kinds of project differ,
  /// which stands between SegmentOffset and ProtocolFile.
  void printMainBeginning(std::ostream& os) const;
  void printMainEnd(std::ostream& os) const;
  /// The section's name when PosInfosVerified is set; each position line when that line is set.
  void printPositionBlock(std::ostream& os) const;
  void printTrailer(std::ostream& os) const;

  /// Errors: ReadFileError, with the file and the numbers, for negative sizes, more than 2^31 - 1
  /// voxels per volume, or a total that memory cannot address.
  void checkSizes() const;
  /// Throws ReadFileError when reading `name` failed; the end of the file is no failure.
  static void checkRead(const std::istream& is, const std::string& name);
  /// Opens a data file. Errors: OpenFileError, `errorPrefix` + name.
  static std::ifstream openData(const std::string& name, const std::string& errorPrefix);
  /// NrOfVolumes volumes of the header's dimensions, elements not initialised. Errors:
  /// ReadFileError as `checkSizes`; also when there is not enough memory, and when the header
  /// promises over 16 GiB more than the data file `dataName` holds, which is a damaged header
  /// rather than a short file.
  void allocate(std::vector<Volume<float>>& volumes, const std::string& dataName) const;

  /// Errors: WriteFileError when a volume has other dimensions than the header, before anything
  /// is written.
  void checkVolumes(const std::vector<Volume<float>>& volumes) const;
  /// Creates or truncates `fileName` and has `print` write it. A file that cannot be created goes
  /// unreported. Errors: WriteFileError "Failed writing: " + name when it was created but could
  /// not be filled.
  void writeHeader(const std::function<void(std::ostream&)>& print) const;
  /// Creates or truncates data file `name` and has `write` fill it. Errors: WriteFileError,
  /// `openErrorPrefix` + name when it cannot be created; "Failed writing: " + name when it cannot
  /// be filled, in which case the incomplete file is removed.
  static void writeData(const std::string& name, const std::string& openErrorPrefix,
                        const std::function<void(std::ostream&)>& write);

  /// The size of the header file in bytes; 0 when unknown.
  std::uintmax_t headerBytes() const;

 private:
  std::string describeSizes() const;
};

}  // namespace mirel
