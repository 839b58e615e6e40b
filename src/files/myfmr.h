#pragma once

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "containers/volume.h"
#include "files/projectheader.h"

namespace mirel {

/// A functional run project: a text header (".fmr", `ProjectHeader`) and one data file (".stc")
/// beside it, named after the header's Prefix. The data file holds samples only (`SampleFormat`),
/// slice by slice, each slice of every volume in turn:
///
///   stc = for z < NrOfSlices, t < NrOfVolumes, y < ResolutionY, x < ResolutionX: sample
///
/// Keys that are not known here are skipped and not written back; so is the one token behind the
/// slice timing table (or behind "SliceTimingTableSize: 0"). A label that ends the file is
/// matched a second time with nothing left to read: a number then keeps its value but its width
/// shrinks to its label's length; a string becomes empty.
class FMR : public ProjectHeader {
 public:
  Line<int> NrOfLinkedProtocols;
  Line<int> MultibandSequence;
  Line<int> SliceTimingTableSize;
  std::vector<float> sliceTimingTable;
  /// One volume (ResolutionX, ResolutionY, NrOfSlices) per time point.
  std::vector<Volume<float>> stcData;

  /// Reads the header and, if `loadData`, the data. A malformed value ends the header silently.
  /// Errors: OpenFileError "Failed opening for reading: " + name; ReadFileError for impossible
  /// sizes and for a slice timing table longer than the file; those of `LoadSTC`.
  FMR(std::string fileName, bool loadData);
  /// A new project: no line is set, nothing is read or written.
  static FMR blank(std::string fileName) { return FMR(std::move(fileName)); }
  ~FMR() = default;
  FMR(const FMR&) = default;
  FMR(FMR&&) = default;
  FMR& operator=(const FMR&) = default;
  FMR& operator=(FMR&&) = default;

  /// (Re)loads `stcData`. Voxels beyond the end of a short file are 0. Errors: OpenFileError
  /// "Failed opening STC for reading: " + name; ReadFileError for impossible sizes.
  void LoadSTC();

  /// Writes the header text; unset lines write nothing.
  void PrintTo(std::ostream& os) const;

  /// Writes the header and, if there are volumes, the data; NrOfVolumes becomes their number.
  /// A header that cannot be created goes unreported. Errors: WriteFileError when a volume has
  /// other dimensions than the header (nothing is written), "Failed opening STC for writing: " +
  /// name, or "Failed writing: " + name.
  void Save();

  /// Saves under a new name, the data file named after it; data not in memory are first loaded
  /// from the old file. Errors: those of `LoadSTC` and `Save`.
  void SaveAs(std::string newFileName);

 private:
  explicit FMR(std::string name) : ProjectHeader(std::move(name)) {}

  void readHeader();
  void readSliceTimingTable(std::istream& is);
  /// Slices without voxels, or of no volumes, take no room in a file, and no time, however many a
  /// header promises.
  std::size_t storedSlices() const;
};

}  // namespace mirel
