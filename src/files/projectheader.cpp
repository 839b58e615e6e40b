#include "files/projectheader.h"

#include <filesystem>
#include <locale>
#include <string_view>
#include <utility>

#include "files/ioerror.h"

namespace mirel {

namespace {

constexpr std::string_view positionSection = "PositionInformationFromImageHeaders";

// The tables of the header: key, line, line feeds behind the line, in the order of the file.
// Header is ProjectHeader or const ProjectHeader.

template <typename Header, typename Visitor>
void visitMainBeginning(Header& h, Visitor visit) {
  visit("FileVersion:", h.FileVersion, 1);
  visit("NrOfVolumes:", h.NrOfVolumes, 1);
  visit("NrOfSlices:", h.NrOfSlices, 1);
  visit("NrOfSkippedVolumes:", h.NrOfSkippedVolumes, 1);
  visit("Prefix:", h.Prefix, 1);
  visit("DataStorageFormat:", h.DataStorageFormat, 1);
  visit("DataType:", h.DataType, 1);
  visit("TR:", h.TR, 1);
  visit("InterSliceTime:", h.InterSliceTime, 1);
  visit("TimeResolutionVerified:", h.TimeResolutionVerified, 1);
  visit("TE:", h.TE, 1);
  visit("SliceAcquisitionOrder:", h.SliceAcquisitionOrder, 1);
  visit("SliceAcquisitionOrderVerified:", h.SliceAcquisitionOrderVerified, 1);
  visit("ResolutionX:", h.ResolutionX, 1);
  visit("ResolutionY:", h.ResolutionY, 1);
  visit("LoadAMRFile:", h.LoadAMRFile, 1);
  visit("ShowAMRFile:", h.ShowAMRFile, 1);
  visit("ImageIndex:", h.ImageIndex, 1);
  visit("LayoutNColumns:", h.LayoutNColumns, 1);
  visit("LayoutNRows:", h.LayoutNRows, 1);
  visit("LayoutZoomLevel:", h.LayoutZoomLevel, 1);
  visit("SegmentSize:", h.SegmentSize, 1);
  visit("SegmentOffset:", h.SegmentOffset, 1);
}

template <typename Header, typename Visitor>
void visitMainEnd(Header& h, Visitor visit) {
  visit("ProtocolFile:", h.ProtocolFile, 1);
  visit("InplaneResolutionX:", h.InplaneResolutionX, 1);
  visit("InplaneResolutionY:", h.InplaneResolutionY, 1);
  visit("SliceThickness:", h.SliceThickness, 1);
  visit("SliceGap:", h.SliceGap, 1);
  visit("VoxelResolutionVerified:", h.VoxelResolutionVerified, 2);
}

template <typename Header, typename Visitor>
void visitPosition(Header& h, Visitor visit) {
  visit("PosInfosVerified:", h.PosInfosVerified, 1);
  visit("CoordinateSystem:", h.CoordinateSystem, 1);
  visit("Slice1CenterX:", h.Slice1CenterX, 1);
  visit("Slice1CenterY:", h.Slice1CenterY, 1);
  visit("Slice1CenterZ:", h.Slice1CenterZ, 1);
  visit("SliceNCenterX:", h.SliceNCenterX, 1);
  visit("SliceNCenterY:", h.SliceNCenterY, 1);
  visit("SliceNCenterZ:", h.SliceNCenterZ, 1);
  visit("RowDirX:", h.RowDirX, 1);
  visit("RowDirY:", h.RowDirY, 1);
  visit("RowDirZ:", h.RowDirZ, 1);
  visit("ColDirX:", h.ColDirX, 1);
  visit("ColDirY:", h.ColDirY, 1);
  visit("ColDirZ:", h.ColDirZ, 1);
  visit("NRows:", h.NRows, 1);
  visit("NCols:", h.NCols, 1);
  visit("FoVRows:", h.FoVRows, 1);
  visit("FoVCols:", h.FoVCols, 1);
  visit("SliceThickness:", h.PosSliceThickness, 1);
  visit("GapThickness:", h.GapThickness, 3);
}

template <typename Header, typename Visitor>
void visitTrailer(Header& h, Visitor visit) {
  visit("NrOfPastSpatialTransformations:", h.NrOfPastSpatialTransformations, 3);
  visit("LeftRightConvention:", h.LeftRightConvention, 3);
  visit("FirstDataSourceFile:", h.FirstDataSourceFile, 2);
}

/// Reads the visited line whose key is `token`.
auto reader(std::istream& is, const std::string& token) {
  return [&is, &token](std::string_view key, auto& line, int /*lineFeeds*/) {
    if (token == key) line.readLine(is, token);
  };
}

auto printer(std::ostream& os) {
  return [&os](std::string_view /*key*/, const auto& line, int lineFeeds) {
    line.printLineIfAllSet(os, lineFeeds);
  };
}

}  // namespace

ProjectHeader::ProjectHeader(std::string name) : fileName(std::move(name)) {
  FileVersion.updateValue(-1);
}

std::ifstream ProjectHeader::openHeader() const {
  std::ifstream is;
  is.imbue(std::locale::classic());
  std::error_code ignored;
  // Opening a directory succeeds, and only the first read fails.
  if (!std::filesystem::is_directory(fileName, ignored)) is.open(fileName);
  if (!is.is_open()) throw OpenFileError("Failed opening for reading: " + fileName);
  return is;
}

void ProjectHeader::readMainLine(std::istream& is, const std::string& token) {
  visitMainBeginning(*this, reader(is, token));
  visitMainEnd(*this, reader(is, token));
}

void ProjectHeader::readPositionBlock(std::istream& is, std::string& token) {
  if (token != positionSection) return;
  while (token != "GapThickness:" && is.good()) {
    is >> token;
    visitPosition(*this, reader(is, token));
  }
}

void ProjectHeader::readTrailerLine(std::istream& is, const std::string& token) {
  visitTrailer(*this, reader(is, token));
}

void ProjectHeader::printMainBeginning(std::ostream& os) const {
  visitMainBeginning(*this, printer(os));
}

void ProjectHeader::printMainEnd(std::ostream& os) const { visitMainEnd(*this, printer(os)); }

void ProjectHeader::printPositionBlock(std::ostream& os) const {
  if (PosInfosVerified.isSet()) os << "\n" << positionSection << "\n\n";
  visitPosition(*this, printer(os));
}

void ProjectHeader::printTrailer(std::ostream& os) const { visitTrailer(*this, printer(os)); }

}  // namespace mirel
