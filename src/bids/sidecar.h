#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/filestamp.h"
#include "base/json.h"
#include "bids/phaseencoding.h"

namespace mirel::bids {

/// Where a total readout time comes from.
enum class ReadoutSource {
  totalReadoutTime,      ///< the field TotalReadoutTime
  effectiveEchoSpacing,  ///< the field EffectiveEchoSpacing, times the lines less one
  estimated,             ///< a field that the converter of the images estimated
  option,                ///< the command line
  table,                 ///< an acquisition table
};

/// As it stands in an output's sidecar: "TotalReadoutTime", "EffectiveEchoSpacing times (lines -
/// 1)", "estimated by the converter", "option", "acquisition table".
std::string nameOf(ReadoutSource source);

/// The total readout time: from the centre of the first echo to that of the last one, of the
/// image as it was reconstructed. A field of f Hz displaces by f * seconds voxels.
struct Readout {
  double seconds = 0;
  ReadoutSource source = ReadoutSource::option;
  /// The sidecar that has the field, or the table; empty for an option.
  std::string file = {};
  /// A sentence when another field says something else; empty otherwise.
  std::string contradiction = {};
};

/// For messages: "TotalReadoutTime in sub-01_epi.json"; nameOf(source) without a file.
std::string sourceText(const Readout& readout);

/// Readout times outside this range are refused: they are not in seconds.
inline constexpr double shortestReadout = 0.0005;
inline constexpr double longestReadout = 1.0;

/// What the JSON files that describe an image say: one file, or several of which a nearer one
/// overrides the farther ones field by field (inheritance.h finds them).
///
/// Errors  Error, naming the file that the value is from: it is a directory, cannot be read
/// or is larger than
///         16 MB; it is not JSON, or no JSON object; a field that is asked for has a wrong type
///         or an impossible value.
class Sidecar {
 public:
  explicit Sidecar(const std::string& fileName);

  /// Of several files, the farthest first; at least one.
  explicit Sidecar(const std::vector<std::string>& fileNames);

  const std::vector<std::string>& fileNames() const { return names; }
  /// The same files, as they were before they were read.
  const std::vector<FileStamp>& stamps() const { return read; }
  /// The file that a field is from; throws std::out_of_range when no file has it.
  const std::string& fileOf(const std::string& field) const { return origins.at(field); }
  /// What messages about a missing field call it: "near.json", "near.json (with far.json)".
  std::string title() const;
  const Json& json() const { return *content; }
  /// Of a field that is a text or a list of them, such as IntendedFor, those that are not empty.
  std::vector<std::string> texts(const std::string& field) const { return content->textsOf(field); }

  /// The field PhaseEncodingDirection; nothing when it is missing.
  std::optional<PhaseEncodingDirection> phaseEncoding() const;
  /// The file that has it.
  const std::string& phaseEncodingFile() const { return fileOf("PhaseEncodingDirection"); }

  /// The total readout time of an image with `lines` voxels along the phase-encoding axis, by the
  /// first of these fields that is there; nothing without any of them:
  ///
  ///   TotalReadoutTime
  ///   EffectiveEchoSpacing * (lines - 1)
  ///   EstimatedTotalReadoutTime
  ///   EstimatedEffectiveEchoSpacing * (lines - 1)
  ///
  /// When TotalReadoutTime and EffectiveEchoSpacing are both there and differ by more than a tenth,
  /// `contradiction` says so, whether they are from one file or from two.
  ///
  /// Source  Brain Imaging Data Structure, MRI fields for spatial encoding: EffectiveEchoSpacing
  ///         is the readout time divided by the lines of the reconstructed image less one, with
  ///         parallel imaging and partial Fourier accounted for.
  std::optional<Readout> readout(int lines) const;

 private:
  std::optional<double> seconds(const char* field) const;
  std::string contradictionOf(double totalReadoutTime, int lines) const;
  [[noreturn]] void fail(const std::string& field, const std::string& fault) const;

  std::vector<std::string> names;
  std::vector<FileStamp> read;
  std::shared_ptr<const Json> content;
  std::map<std::string, std::string> origins;
};

/// The name of an image's own sidecar: run1.json for run1.nii.gz.
std::string sidecarName(const std::string& imageFile);

/// Throws Error, calling the time `what`, unless it is a number between `shortestReadout`
/// and `longestReadout`.
void checkReadout(double seconds, const std::string& what);

}  // namespace mirel::bids
