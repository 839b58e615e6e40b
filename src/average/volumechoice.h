#pragma once

#include <optional>
#include <string>
#include <vector>

#include "nifti/header.h"

namespace mirel {

/// Which volumes of an image are joined to one.
struct VolumeChoice {
  enum class Kind {
    none,        ///< nothing is chosen
    unweighted,  ///< those without diffusion weighting, by the b-values beside the image
    all,
    listed,
  };
  Kind kind = Kind::none;
  std::vector<int> listed;  ///< ascending, each once, counted from 0

  bool isMade() const { return kind != Kind::none; }
  bool operator==(const VolumeChoice&) const = default;
};

/// Reads a choice from text; nothing where it is none.
///
///   b0         unweighted
///   all        all
///   0,3,7-9    listed: 0, 3, 7, 8 and 9, in any order
std::optional<VolumeChoice> volumeChoiceOf(const std::string& text);

/// The volumes that a choice takes of an image, ascending and at least one.
///
/// Unweighted are those with at most nifti::greatestUnweighted in the .bval file beside the image.
///
/// Errors  Error, naming the file: a volume that the image has not; unweighted ones without a .bval
///         file, or where it tells of none; volumes with and without diffusion weighting together,
///         which show the head with other contrasts; those of nifti::readBValues.
std::vector<int> chosenVolumes(const VolumeChoice& choice, const std::string& file,
                               const nifti::Header& header);

}  // namespace mirel
