#pragma once

#include <string>

#include "containers/volume.h"

namespace mirel {

/// One volume of an image file of any kind the program reads: NIfTI, project (.fmr, .dmr) or, as
/// its only volume, a displacement map (.map).
///
/// Errors   Error or the reader's own error, naming the file: of no known kind, unreadable,
///          or without a volume `index` (counted from 0).
Volume<float> readInputVolume(const std::string& file, int index);

}  // namespace mirel
