#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "series/phaseencoding.h"

namespace bids {

/// Where a total readout time comes from.
enum class ReadoutSource {
  totalReadoutTime,      ///< the field TotalReadoutTime
  effectiveEchoSpacing,  ///< the field EffectiveEchoSpacing, times the lines less one
  estimated,             ///< a field that the converter of the images estimated
  option,                ///< the command line
};

/// As it stands in an output's sidecar: "TotalReadoutTime", "EffectiveEchoSpacing times (lines -
/// 1)", "estimated by the converter", "option".
std::string nameOf(ReadoutSource source);

/// The total readout time: from the centre of the first echo to that of the last one, of the
/// image as it was reconstructed. A field of f Hz displaces by f * seconds voxels.
struct Readout {
  double seconds = 0;
  ReadoutSource source = ReadoutSource::option;
  /// A sentence when another field of the sidecar says something else; empty otherwise.
  std::string contradiction = {};
};

/// Readout times outside this range are refused: they are not in seconds.
inline constexpr double shortestReadout = 0.0005;
inline constexpr double longestReadout = 1.0;

/// The JSON file that describes an image.
///
/// Errors  bids::Error, naming the file: it is a directory, cannot be read or is larger than
///         16 MB; it is not JSON, or no JSON object; a field that is asked for has a wrong type
///         or an impossible value.
class Sidecar {
 public:
  explicit Sidecar(const std::string& fileName);

  const std::string& fileName() const { return name; }
  const nlohmann::json& json() const { return content; }

  /// The field PhaseEncodingDirection; nothing when it is missing.
  std::optional<series::PhaseEncodingDirection> phaseEncoding() const;

  /// The total readout time of an image with `lines` voxels along the phase-encoding axis, by the
  /// first of these fields that is there; nothing without any of them:
  ///
  ///   TotalReadoutTime
  ///   EffectiveEchoSpacing * (lines - 1)
  ///   EstimatedTotalReadoutTime
  ///   EstimatedEffectiveEchoSpacing * (lines - 1)
  ///
  /// When TotalReadoutTime and EffectiveEchoSpacing are both there and differ by more than a tenth,
  /// `contradiction` says so.
  ///
  /// Source  Brain Imaging Data Structure, MRI fields for spatial encoding: EffectiveEchoSpacing
  ///         is the readout time divided by the lines of the reconstructed image less one, with
  ///         parallel imaging and partial Fourier accounted for.
  std::optional<Readout> readout(int lines) const;

 private:
  std::optional<double> seconds(const char* field) const;
  std::string contradictionOf(double totalReadoutTime, int lines) const;
  [[noreturn]] void fail(const std::string& fault) const;

  std::string name;
  nlohmann::json content;
};

/// The name of the sidecar that belongs to an image: run1.json for run1.nii.gz.
std::string sidecarName(const std::string& imageFile);

/// Throws bids::Error, calling the time `what`, unless it is a number between `shortestReadout`
/// and `longestReadout`.
void checkReadout(double seconds, const std::string& what);

}  // namespace bids
