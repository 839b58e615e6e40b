#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "jobs/applyfield.h"

namespace mirel {

/// What `mirel apply` is given on the command line for images.
struct ApplyFieldArguments {
  ApplyFieldOptions job;
  bids::GivenAcquisition given;
  bool modulate = false, quiet = false;
};

struct ImageCommandOptions {
  CLI::Option* field;
  CLI::Option* output;
  std::vector<CLI::Option*> forImages;  ///< those that projects do not have, --output among them
};

/// Adds --field and the options that go with images.
ImageCommandOptions addApplyFieldOptions(CLI::App* command, ApplyFieldArguments& arguments);

/// Corrects the images; an exit status.
int runApplyField(const ApplyFieldArguments& arguments, const std::vector<std::string>& images);

}  // namespace mirel
