#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "bids/phaseencoding.h"

namespace mirel {

/// Adds an option that takes a phase-encoding direction.
CLI::Option* addDirectionOption(CLI::App* command, const std::string& name,
                                std::optional<bids::PhaseEncodingDirection>& value,
                                const std::string& text);

/// Adds an option that takes a total readout time in s.
CLI::Option* addReadoutOption(CLI::App* command, const std::string& name,
                              std::optional<double>& value, const std::string& text);

}  // namespace mirel
