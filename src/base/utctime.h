#pragma once

#include <string>

namespace mirel {

/// The time now, "2026-01-31 12:34:56 UTC".
std::string utcTime();

}  // namespace mirel
