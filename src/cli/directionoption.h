#pragma once

#include <optional>
#include <string>

#include "bids/phaseencoding.h"
#include "bids/units.h"
#include "cli/commandline.h"

namespace mirel {

/// Adds an option that takes a phase-encoding direction.
Option* addDirectionOption(Command* command, const std::string& name,
                           std::optional<bids::PhaseEncodingDirection>& value,
                           const std::string& text);

/// Adds an option that takes a total readout time in s.
Option* addReadoutOption(Command* command, const std::string& name, std::optional<double>& value,
                         const std::string& text);

/// Adds the option --units for the values of a field or a displacement map.
Option* addUnitOption(Command* command, std::optional<bids::Unit>& value, const std::string& text);

}  // namespace mirel
