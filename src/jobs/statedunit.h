#pragma once

#include <string>

#include "bids/units.h"

namespace mirel {

/// A unit and who says so.
struct StatedUnit {
  enum class Source {
    option,
    sidecar,  ///< its field Units
    header,   ///< the image's intent code
    format,   ///< a .map file is in voxels
    assumed,  ///< nobody: Hz or voxels, whichever the file was given as
  };

  bids::Unit value = bids::Unit::hertz;
  Source source = Source::assumed;
  std::string file = {};  ///< the sidecar

  /// "sub-01_fieldmap.json", "option", "intent code", "file format", "assumed".
  std::string sourceText() const;
};

}  // namespace mirel
