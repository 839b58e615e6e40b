#pragma once

#include <glm/vec3.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/advice.h"
#include "bids/phaseencoding.h"
#include "bids/sidecar.h"

/// How an image was acquired: what a user said about it, else what its sidecars say.
namespace mirel::bids {

/// What a user said about an image.
struct GivenAcquisition {
  std::string sidecar;  ///< read alone; empty: those that apply (applicableSidecars)
  std::optional<PhaseEncodingDirection> direction;
  std::optional<double> readoutSeconds;
  /// The acquisition table that the two stand in; empty: options.
  std::string table = {};
  FileStamp tableStamp = {};  ///< before it was read

  bool isComplete() const { return direction && readoutSeconds; }
};

/// A direction and where it comes from.
struct StatedDirection {
  enum class Source {
    sidecar,
    option,
    table,     ///< an acquisition table
    opposite,  ///< of the other image of the pair
    assumed,
    map,  ///< the displacement map to apply, which knows an axis and no polarity
  };

  PhaseEncodingDirection value;
  Source source = Source::assumed;
  std::string file = {};  ///< of the sidecar, the table or the map

  /// "sub-01_epi.json", "option", "opposite of the other image", "assumed".
  std::string sourceText() const;
};

struct Acquisition {
  std::optional<StatedDirection> direction;
  std::optional<Readout> readout;
  std::optional<Sidecar> sidecar;  ///< all that were read, as one

  /// The sidecars that were read, the farthest first; empty when none was.
  std::vector<std::string> sidecarFiles() const;
  /// As they were before they were read.
  std::vector<FileStamp> sidecarStamps() const;
};

/// Whether sidecars are read that could tell nothing new about direction and readout time.
enum class SidecarUse { always, whereNeeded };

/// Direction and readout time of an image of `dims` voxels, each from `given`, else from its
/// sidecars; what neither tells stays open. The readout time of a sidecar needs a direction: with
/// none, it stays open, too.
///
/// Errors  Error, naming file and field: those of findSidecar and Sidecar; a given readout time
///         that is none (checkReadout).
Acquisition resolveAcquisition(const std::string& imageFile, glm::ivec3 dims,
                               const GivenAcquisition& given, SidecarUse use = SidecarUse::always);

/// The same of an image that has no sidecars: what was given, and no more.
Acquisition givenAcquisition(const std::string& imageFile, const GivenAcquisition& given);

/// The direction, or an Error that says who does not tell it and advises to give that of the image.
const StatedDirection& requireDirection(const Acquisition& acquisition,
                                        const std::string& imageFile,
                                        Advice::Of image = Advice::Of::image);

/// The same for the readout time.
const Readout& requireReadout(const Acquisition& acquisition, const std::string& imageFile,
                              Advice::Of image = Advice::Of::image);

}  // namespace mirel::bids
