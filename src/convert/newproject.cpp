#include "convert/newproject.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>

#include "base/error.h"
#include "convert/positionblock.h"
#include "nifti/orientation.h"

namespace mirel::convert {

namespace {

/// One column for all values: the longest label has 32 characters.
constexpr int valueColumn = 34;
/// The digits that tell every float from its neighbours.
constexpr int headerDigits = std::numeric_limits<float>::max_digits10;

int milliseconds(double seconds) {
  const double ms = std::nearbyint(seconds * 1000);
  if (!(ms > 0)) return 0;
  return static_cast<int>(std::min(ms, double(std::numeric_limits<int>::max())));
}

/// A square arrangement of the slices for display.
int layoutColumns(int slices) {
  return static_cast<int>(std::ceil(std::sqrt(static_cast<double>(slices))));
}

void checkName(const std::string& name, const std::string& source) {
  if (name.find_first_of("\r\n") != std::string::npos)
    throw Error(source + ": a project header cannot hold a file name with a line feed");
}

/// Sets the lines of one project.
class LineSetter {
 public:
  explicit LineSetter(const std::string& sourceFile) : source(sourceFile) {}

  void set(Line<int>& line, const char* name, int value) const {
    line.set(name, value, valueColumn);
  }
  void set(Line<bool>& line, const char* name, bool value) const {
    line.set(name, value, valueColumn);
  }
  void set(Line<float>& line, const char* name, double value) const {
    line.set(name, headerNumber(value), valueColumn);
  }
  void set(Line<std::string>& line, const char* name, const std::string& value,
           LineQuotes quotes) const {
    line.set(name, value, valueColumn, quotes);
  }
  void set(Line<float>& x, Line<float>& y, Line<float>& z, const std::string& name,
           const glm::dvec3& v) const {
    set(x, (name + "X").c_str(), v.x);
    set(y, (name + "Y").c_str(), v.y);
    set(z, (name + "Z").c_str(), v.z);
  }

 private:
  /// The float nearest to the number in `headerDigits` digits, as a reader of that text has it; in
  /// rare cases this is a neighbour of the float nearest to the number itself.
  float headerNumber(double value) const {
    std::stringstream text;
    text.imbue(std::locale::classic());
    text.precision(headerDigits);
    text << value;
    float number = 0.0F;
    if (text >> number) return number;
    throw Error(source + ": a project header cannot hold the number " + text.str());
  }

  std::string source;
};

void setMainBlock(ProjectHeader& h, const LineSetter& to, const nifti::Header& image,
                  const NewProject& description) {
  const bool fmr = description.kind == ProjectKind::fmr;
  const int columns = layoutColumns(image.dims.z);
  const glm::dvec3 size = nifti::columnLengths(image.affine());
  to.set(h.FileVersion, "FileVersion", fmr ? 7 : 3);
  to.set(h.NrOfVolumes, "NrOfVolumes", image.volumes);
  to.set(h.NrOfSlices, "NrOfSlices", image.dims.z);
  to.set(h.NrOfSkippedVolumes, "NrOfSkippedVolumes", 0);
  to.set(h.Prefix, "Prefix", description.prefix, LineQuotes::around);
  to.set(h.DataStorageFormat, "DataStorageFormat", fmr ? 2 : 3);
  to.set(h.DataType, "DataType", description.samples == SampleFormat::float32 ? 2 : 1);
  to.set(h.TR, "TR", milliseconds(image.repetitionTimeSeconds));
  to.set(h.InterSliceTime, "InterSliceTime",
         milliseconds(image.repetitionTimeSeconds / image.dims.z));
  to.set(h.TimeResolutionVerified, "TimeResolutionVerified", image.repetitionTimeSeconds > 0);
  to.set(h.TE, "TE", 0);
  to.set(h.SliceAcquisitionOrder, "SliceAcquisitionOrder", 0);
  to.set(h.SliceAcquisitionOrderVerified, "SliceAcquisitionOrderVerified", false);
  to.set(h.ResolutionX, "ResolutionX", image.dims.x);
  to.set(h.ResolutionY, "ResolutionY", image.dims.y);
  to.set(h.LoadAMRFile, "LoadAMRFile", "", LineQuotes::around);
  to.set(h.ShowAMRFile, "ShowAMRFile", false);
  to.set(h.ImageIndex, "ImageIndex", 0);
  to.set(h.LayoutNColumns, "LayoutNColumns", columns);
  to.set(h.LayoutNRows, "LayoutNRows", (image.dims.z + columns - 1) / columns);
  to.set(h.LayoutZoomLevel, "LayoutZoomLevel", 1);
  to.set(h.SegmentSize, "SegmentSize", 10);
  to.set(h.SegmentOffset, "SegmentOffset", 0);
  to.set(h.ProtocolFile, "ProtocolFile", "", LineQuotes::around);
  to.set(h.InplaneResolutionX, "InplaneResolutionX", size.x);
  to.set(h.InplaneResolutionY, "InplaneResolutionY", size.y);
  to.set(h.SliceThickness, "SliceThickness", size.z);
  to.set(h.SliceGap, "SliceGap", 0.0);
  to.set(h.VoxelResolutionVerified, "VoxelResolutionVerified", true);
}

void setPositionBlock(ProjectHeader& h, const LineSetter& to, const nifti::Header& image,
                      const PositionBlock& b) {
  to.set(h.PosInfosVerified, "PosInfosVerified", image.sformCode > 0 || image.qformCode > 0);
  to.set(h.CoordinateSystem, "CoordinateSystem", b.coordinateSystem);
  to.set(h.Slice1CenterX, h.Slice1CenterY, h.Slice1CenterZ, "Slice1Center", b.slice1Center);
  to.set(h.SliceNCenterX, h.SliceNCenterY, h.SliceNCenterZ, "SliceNCenter", b.sliceNCenter);
  to.set(h.RowDirX, h.RowDirY, h.RowDirZ, "RowDir", b.rowDir);
  to.set(h.ColDirX, h.ColDirY, h.ColDirZ, "ColDir", b.colDir);
  to.set(h.NRows, "NRows", b.nRows);
  to.set(h.NCols, "NCols", b.nCols);
  to.set(h.FoVRows, "FoVRows", b.fovRows);
  to.set(h.FoVCols, "FoVCols", b.fovCols);
  to.set(h.PosSliceThickness, "SliceThickness", b.sliceThickness);
  to.set(h.GapThickness, "GapThickness", b.gapThickness);
}

// The last line of either kind is followed by a token that readers skip; any other last line would
// be matched a second time at the end of the file and lose its alignment or its value.

void setOwnLines(FMR& fmr, const LineSetter& to) {
  to.set(fmr.NrOfLinkedProtocols, "NrOfLinkedProtocols", 0);
  to.set(fmr.MultibandSequence, "MultibandSequence", 0);
  to.set(fmr.SliceTimingTableSize, "SliceTimingTableSize", 0);
}

void setOwnLines(DMR& dmr, const LineSetter& to) {
  to.set(dmr.DisplayVolume, "DisplayVolume", 0);
  to.set(dmr.GradientDirectionsVerified, "GradientDirectionsVerified", false);
  to.set(dmr.GradientXDirInterpretation, "GradientXDirInterpretation", 1);
  to.set(dmr.GradientYDirInterpretation, "GradientYDirInterpretation", 2);
  to.set(dmr.GradientZDirInterpretation, "GradientZDirInterpretation", 3);
  to.set(dmr.GradientInformationAvailable, "GradientInformationAvailable", false);
}

}  // namespace

Project newProject(const nifti::Header& image, const NewProject& description) {
  checkName(description.prefix, description.source);
  checkName(description.source, description.source);
  const PositionBlock position = toPositionBlock(image.affine(), image.dims, description.source);
  Project project = Project::blank(description.kind, "");
  ProjectHeader& header = project.header();
  const LineSetter to(description.source);
  setMainBlock(header, to, image, description);
  setPositionBlock(header, to, image, position);
  to.set(header.NrOfPastSpatialTransformations, "NrOfPastSpatialTransformations", 0);
  to.set(header.LeftRightConvention, "LeftRightConvention", leftRightConvention(image.affine()),
         LineQuotes::none);
  to.set(header.FirstDataSourceFile, "FirstDataSourceFile", description.source, LineQuotes::around);
  if (FMR* fmr = project.fmr())
    setOwnLines(*fmr, to);
  else
    setOwnLines(*project.dmr(), to);
  return project;
}

}  // namespace mirel::convert
