#pragma once

#include <glm/vec3.hpp>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "containers/volume.h"
#include "files/projectheader.h"

namespace mirel {

/// A diffusion run project: a text header (".dmr", `ProjectHeader`), which may end in a gradient
/// table, and one data file (".dwi") beside it, named after the header's Prefix. The data file
/// holds samples only (`SampleFormat`), volume by volume:
///
///   table = "GradientInformationAvailable: YES" { x y z weight "\n" }   NrOfVolumes rows
///   dwi   = for t < NrOfVolumes, z < NrOfSlices, y < ResolutionY, x < ResolutionX: sample
///
/// Keys that are not known here are skipped and not written back; so is the one token behind the
/// table (or behind "GradientInformationAvailable: NO"). A label that ends the file is matched a
/// second time with nothing left to read: a number then keeps its value but its width shrinks to
/// its label's length; a string becomes empty; a yes/no line becomes yes.
class DMR : public ProjectHeader {
 public:
  Line<int> DisplayVolume;
  /// The two yes/no lines are written as YES or NO, the other bool lines as 1 or 0.
  Line<bool> GradientDirectionsVerified;
  Line<int> GradientXDirInterpretation, GradientYDirInterpretation, GradientZDirInterpretation;
  Line<bool> GradientInformationAvailable;
  std::vector<glm::vec3> gradientDirections;
  /// The fourth number of each row: carried from reading to writing, not interpreted.
  std::vector<float> gradientWeights;
  /// One volume (ResolutionX, ResolutionY, NrOfSlices) per measurement.
  std::vector<Volume<float>> dwiData;

  /// Reads the header with its gradient table and, if `loadData`, the data. A malformed value
  /// ends the header silently; a malformed row ends the table, and is kept. Errors: OpenFileError
  /// "Failed opening for reading: " + name; ReadFileError for impossible sizes; those of
  /// `LoadDWI`.
  DMR(std::string fileName, bool loadData);
  /// A new project: no line is set, nothing is read or written.
  static DMR blank(std::string fileName) { return DMR(std::move(fileName)); }
  ~DMR() = default;
  DMR(const DMR&) = default;
  DMR(DMR&&) = default;
  DMR& operator=(const DMR&) = default;
  DMR& operator=(DMR&&) = default;

  /// (Re)loads `dwiData`. Voxels beyond the end of a short file are 0. Errors: OpenFileError
  /// "Failed opening for reading: " + name; ReadFileError for impossible sizes, and "Can only
  /// read DataStorageFormat 3, Not " + value, after which `dwiData` holds volumes of zeros.
  void LoadDWI();

  /// Writes the header text with the gradient table; unset lines write nothing, and weights that
  /// are missing are written as 0.
  void PrintTo(std::ostream& os) const;

  /// Writes the header and, if there are volumes, the data (whatever DataStorageFormat says);
  /// NrOfVolumes becomes their number. A header that cannot be created goes unreported. Errors:
  /// WriteFileError when a volume has other dimensions than the header (nothing is written),
  /// "Failed opening for writing: " + name, or "Failed writing: " + name.
  void Save();

  /// Saves under a new name, the data file named after it; data not in memory are first loaded
  /// from the old file. Errors: those of `LoadDWI` and `Save`.
  void SaveAs(std::string newFileName);

 private:
  explicit DMR(std::string name) : ProjectHeader(std::move(name)) {}

  void readHeader();
  void readGradientLine(std::istream& is, const std::string& token);
  void readGradientTable(std::istream& is);
  void printGradientTable(std::ostream& os) const;
};

}  // namespace mirel
