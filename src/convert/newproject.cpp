#include "convert/newproject.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>

#include "base/error.h"
#include "convert/positionblock.h"
#include "nifti/orientation.h"

namespace mirel::convert {

namespace {

/// One column for all values: the longest label has 32 characters.
constexpr int labelWidth = 34;

class HeaderText {
 public:
  HeaderText() {
    os.imbue(std::locale::classic());
    // The project classes print 6 digits; what they read first should be the value itself.
    os << std::setprecision(std::numeric_limits<float>::max_digits10) << "\n";
  }
  template <typename T>
  HeaderText& line(const std::string& key, const T& value) {
    os << std::left << std::setw(labelWidth) << key + ":" << value << "\n";
    return *this;
  }
  HeaderText& quoted(const std::string& key, const std::string& value) {
    return line(key, "\"" + value + "\"");
  }
  HeaderText& vector(const std::string& key, const glm::dvec3& v) {
    return line(key + "X", v.x).line(key + "Y", v.y).line(key + "Z", v.z);
  }
  HeaderText& section(const std::string& name) {
    os << "\n" << name << "\n\n";
    return *this;
  }
  std::string text() const { return os.str(); }

 private:
  std::ostringstream os;
};

int milliseconds(double seconds) {
  const double ms = std::nearbyint(seconds * 1000);
  if (!(ms > 0)) return 0;
  return static_cast<int>(std::min(ms, double(std::numeric_limits<int>::max())));
}

/// A square arrangement of the slices for display.
int layoutColumns(int slices) {
  return static_cast<int>(std::ceil(std::sqrt(static_cast<double>(slices))));
}

void mainBlock(HeaderText& text, const nifti::Header& image, const NewProject& project) {
  const bool fmr = project.kind == ProjectKind::fmr;
  const int columns = layoutColumns(image.dims.z);
  const glm::dvec3 size = nifti::columnLengths(image.affine());
  text.line("FileVersion", fmr ? 7 : 3)
      .line("NrOfVolumes", image.volumes)
      .line("NrOfSlices", image.dims.z)
      .line("NrOfSkippedVolumes", 0)
      .quoted("Prefix", project.prefix)
      .line("DataStorageFormat", fmr ? 2 : 3)
      .line("DataType", static_cast<int>(project.samples))
      .line("TR", milliseconds(image.repetitionTimeSeconds))
      .line("InterSliceTime", milliseconds(image.repetitionTimeSeconds / image.dims.z))
      .line("TimeResolutionVerified", image.repetitionTimeSeconds > 0 ? 1 : 0)
      .line("TE", 0)
      .line("SliceAcquisitionOrder", 0)
      .line("SliceAcquisitionOrderVerified", 0)
      .line("ResolutionX", image.dims.x)
      .line("ResolutionY", image.dims.y)
      .quoted("LoadAMRFile", "")
      .line("ShowAMRFile", 0)
      .line("ImageIndex", 0)
      .line("LayoutNColumns", columns)
      .line("LayoutNRows", (image.dims.z + columns - 1) / columns)
      .line("LayoutZoomLevel", 1)
      .line("SegmentSize", 10)
      .line("SegmentOffset", 0)
      .line(fmr ? "NrOfLinkedProtocols" : "DisplayVolume", 0)
      .quoted("ProtocolFile", "")
      .line("InplaneResolutionX", size.x)
      .line("InplaneResolutionY", size.y)
      .line("SliceThickness", size.z)
      .line("SliceGap", 0)
      .line("VoxelResolutionVerified", 1);
}

void positionBlock(HeaderText& text, const nifti::Header& image, const PositionBlock& b) {
  const bool oriented = image.sformCode > 0 || image.qformCode > 0;
  text.section("PositionInformationFromImageHeaders")
      .line("PosInfosVerified", oriented ? 1 : 0)
      .line("CoordinateSystem", b.coordinateSystem)
      .vector("Slice1Center", b.slice1Center)
      .vector("SliceNCenter", b.sliceNCenter)
      .vector("RowDir", b.rowDir)
      .vector("ColDir", b.colDir)
      .line("NRows", b.nRows)
      .line("NCols", b.nCols)
      .line("FoVRows", b.fovRows)
      .line("FoVCols", b.fovCols)
      .line("SliceThickness", b.sliceThickness)
      .line("GapThickness", b.gapThickness);
}

void checkName(const std::string& name, const std::string& source) {
  if (name.find_first_of("\r\n") != std::string::npos)
    throw Error(source + ": a project header cannot hold a file name with a line feed");
}

}  // namespace

std::string newProjectHeader(const nifti::Header& image, const NewProject& project) {
  checkName(project.prefix, project.source);
  checkName(project.source, project.source);
  HeaderText text;
  mainBlock(text, image, project);
  positionBlock(text, image, toPositionBlock(image.affine(), image.dims, project.source));
  text.line("NrOfPastSpatialTransformations", 0)
      .line("LeftRightConvention", leftRightConvention(image.affine()))
      .quoted("FirstDataSourceFile", project.source);
  if (project.kind == ProjectKind::fmr)
    text.line("MultibandSequence", 0).line("SliceTimingTableSize", 0);
  else
    text.line("GradientDirectionsVerified", "NO")
        .line("GradientXDirInterpretation", 1)
        .line("GradientYDirInterpretation", 2)
        .line("GradientZDirInterpretation", 3)
        .line("GradientInformationAvailable", "NO");
  return text.text();
}

}  // namespace mirel::convert
