#pragma once

namespace mirel {

/// Whether a descriptor is a terminal that can draw a line anew: not a file, a pipe or a terminal
/// that calls itself dumb (TERM) or nothing at all.
bool canRedraw(int descriptor);

}  // namespace mirel
