#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/commandline.h"
#include "cli/motionoption.h"
#include "jobs/applyfield.h"
#include "numerics/interpolationkernel.h"

namespace mirel {

struct Program;

/// What `mirel apply` is given on the command line for images.
struct ApplyFieldArguments {
  ApplyFieldOptions job;
  bids::GivenAcquisition given;
  MotionArguments motion;
  std::optional<InterpolationKernel> interpolation;
  std::string anatomy;
  bool modulate = false, quiet = false, noReport = false, noViewer = false;
};

struct ImageCommandOptions {
  Option* field;
  Option* output;
  Option* mapDirection;
  std::vector<Option*> forImages;  ///< those that projects do not have, --output among them
};

/// Adds --field and the options that go with images.
ImageCommandOptions addApplyFieldOptions(Command* command, ApplyFieldArguments& arguments);

/// Corrects the images; an exit status.
int runApplyField(const ApplyFieldArguments& arguments, const std::vector<std::string>& images,
                  const Program& program);

}  // namespace mirel
