#pragma once

#include <string>

#include "base/json.h"

namespace mirel::report {

/// An input of a run: {role, file, rows}, of the object that a sidecar has for it (originOf): with
/// directions, readout times and where each came from, units and checksums, as far as they are
/// there.
Json inputPart(const std::string& role, const Json& input);

/// The options of a run, {what, value}, of the object that a sidecar has for them.
Json optionsPart(const Json& options);

}  // namespace mirel::report
