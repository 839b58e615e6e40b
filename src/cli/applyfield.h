#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "correct/applyfield.h"

/// What `mirel apply --field` is given on the command line.
struct ApplyFieldArguments {
  correct::ApplyFieldOptions job;
  std::string direction, sidecar;
  double readoutSeconds = 0;
  bool modulate = false, quiet = false;
};

/// Adds --field and the options that go with it; returns --field.
CLI::Option* addApplyFieldOptions(CLI::App* command, ApplyFieldArguments& arguments);

/// Corrects the images; an exit status.
int runApplyField(ApplyFieldArguments arguments, const std::vector<std::string>& images);
