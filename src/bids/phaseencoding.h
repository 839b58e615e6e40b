#pragma once

#include <string>

namespace mirel::bids {

/// Axis of an image's grid along which its phase encoding runs, and in which direction. Written
/// "i", "i-", "j", "j-", "k" or "k-" as in a sidecar's "PhaseEncodingDirection".
///
/// With y in voxels along the axis, f the field in Hz and T the readout time in s, the distorted
/// image I and the undistorted one are related by
///
///   true(y) = I(y + s * f * T),   s = +1 for "i", "j", "k" and -1 for "i-", "j-", "k-".
struct PhaseEncodingDirection {
  int axis = 1;  ///< 0, 1, 2: i, j, k
  int sign = 1;  ///< +1 or -1

  bool operator==(const PhaseEncodingDirection&) const = default;
  PhaseEncodingDirection opposite() const { return {axis, -sign}; }
};

/// Reads "j-" and the like ("j+" is "j"). Throws Error for anything else; `source` says
/// in its text where it was found (a file's name, an option).
PhaseEncodingDirection parsePhaseEncoding(const std::string& text, const std::string& source);

/// "j-" and the like.
std::string nameOf(PhaseEncodingDirection direction);

}  // namespace mirel::bids
