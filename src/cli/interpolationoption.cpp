#include "cli/interpolationoption.h"

namespace mirel {

Option* addInterpolationOption(Command* command, std::optional<InterpolationKernel>& kernel) {
  return command
      ->add_option_function(
          "--interpolation",
          [&kernel](const std::string& word) { kernel = interpolationKernelOf(word); },
          "How values between voxels are found: linear (blurs, but never overshoots beside\n"
          "edges), cubic (B-splines) or lanczos (a sinc of 3 lobes to each side, windowed).\n"
          "The map and all that is judged stay the same (default: cubic)")
      ->type_name("NAME")
      ->one_of({"linear", "cubic", "lanczos"});
}

}  // namespace mirel
