#pragma once

#include <ostream>

namespace mirel {

/// Corrects every project of the dialog parameter "files" (one per line) with the map of the
/// parameter "vdm", "rllr" telling that phase encoding runs along x, and writes copies with
/// "_undist" in their names. Names that are neither FMR nor DMR are skipped.
/// @throws IOError, std::runtime_error when dimensions differ or a project has no volumes,
///   std::logic_error when the host has no map; projects before the failure stay written.
void applyToFiles(std::ostream& log);

}  // namespace mirel
