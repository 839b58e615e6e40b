#include "cli/interpolationoption.h"

namespace mirel {

Option* addInterpolationOption(Command* command, std::optional<InterpolationKernel>& kernel) {
  return command
      ->add_option_function(
          "--interpolation",
          [&kernel](const std::string& word) { kernel = interpolationKernelOf(word); },
          "How values between voxels are found: linear (blurs, never rings), cubic (B-splines)\n"
          "or lanczos (a windowed sinc of 3 lobes: the sharpest; rings beside edges). The map\n"
          "and all that is judged stay the same (default: cubic)")
      ->type_name("NAME")
      ->one_of({"linear", "cubic", "lanczos"});
}

}  // namespace mirel
