#pragma once

#include <string>
#include <vector>

#include "cli/commandline.h"
#include "motion/givenmotion.h"

namespace mirel {

/// What a command line says of the head's motion within series.
struct MotionArguments {
  std::string file, from, reference;  ///< of --motion, --motion-from and --motion-reference
  bool realign = false, realignWeighted = false;
};

/// Adds --motion, with what goes with it, and --realign, which exclude one another and `warp`.
std::vector<Option*> addMotionOptions(Command* command, MotionArguments& arguments, Option* warp);

/// Adds --realign and --realign-weighted alone. `help` is that of the first.
std::vector<Option*> addRealignOptions(Command* command, const std::string& help,
                                       MotionArguments& arguments);

/// Of a reference a number names a volume of the series, anything else an image.
/// Errors  Error where it is neither a number nor the name of a NIfTI image.
GivenMotion motionOf(const MotionArguments& arguments);

}  // namespace mirel
