#pragma once

#include <ostream>

namespace mirel {

/// Estimates the voxel displacement maps of the two projects of the dialog parameters "file0" and
/// "file1" from one volume of each and stores them as maps beside the projects, the second
/// project's being the first one's negated; with "save_derivative" their y derivatives too, and
/// with "apply_to_input" corrected copies of both projects.
/// @throws IOError, std::runtime_error when dimensions differ or a volume does not exist,
///   std::logic_error when the host's map does not fit; files written before stay.
void estimateFiles(std::ostream& log);

}  // namespace mirel
