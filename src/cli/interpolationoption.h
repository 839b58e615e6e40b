#pragma once

#include <optional>

#include "cli/commandline.h"
#include "numerics/interpolationkernel.h"

namespace mirel {

/// Adds --interpolation for the images that a command corrects. Nothing: it was not given.
Option* addInterpolationOption(Command* command, std::optional<InterpolationKernel>& kernel);

}  // namespace mirel
