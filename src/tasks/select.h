#pragma once

namespace mirel {

/// Input selection: the dialog's browse buttons. Each shows the host's open-file dialog and
/// writes the choice, empty after a cancel, to the dialog parameter "filename".

/// Picks a project. For an FMR also writes "nr_of_volumes" and "display_volume" 1; for a DMR
/// "nr_of_volumes" and the header's display volume plus 1. Any other name is no error.
/// @throws IOError when the project cannot be read; "filename" is then not written.
void selectProject();

/// Picks a saved voxel displacement map; the choice is not tested.
void selectVdm();

}  // namespace mirel
