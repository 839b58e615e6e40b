#pragma once

#include <string>

namespace mirel {

/// What a user could say to go on, without the words for it: the command line knows by which of
/// its options that is said (cli/advice.h).
struct Advice {
  enum class Kind {
    none,
    giveDirection,        ///< the phase-encoding direction
    giveReadout,          ///< the total readout time
    giveIntensityScale,   ///< a factor on the intensities
    seeIntensityScale,    ///< the same, where what was found may be right
    chooseVolumes,        ///< which volumes of the two files make the pair
    seeVolumes,           ///< another volume, where the chosen one may be right
    makeField,            ///< of a displacement map a field, which fits any grid
    givePlugin,           ///< where the plugin is
    overwrite,            ///< another output, or that what is there may go
    giveUnits,            ///< what the values of a field or a map are
    seeUnits,             ///< the same, where what was taken may be right
    giveMapDirection,     ///< the direction of the images that a displacement map is for
    seeMapDirection,      ///< the same, where what was taken may be right
    applyAsField,         ///< a field was given as a displacement map
    fieldFromPhase,       ///< make a field of a phase image first
    giveEchoTimes,        ///< the echo times of a phase
    giveMotionForm,       ///< whose conventions transforms follow
    giveMotionReference,  ///< the volume or the image that volumes were aligned to
  };
  /// Which image it is about: the only one, one or both of a pair, or a series beside a pair.
  enum class Of { image, first, second, both, series };

  Kind kind = Kind::none;
  Of of = Of::image;

  bool operator==(const Advice&) const = default;
};

/// A sentence for the user about a result: something that was assumed, or that is suspicious.
struct Remark {
  std::string text;
  Advice advice = {};

  Remark(std::string sentence, Advice what = {});
  bool operator==(const Remark&) const = default;
};

}  // namespace mirel
