#pragma once

#include <string>

#include "containers/volume.h"
#include "files/mydmr.h"
#include "files/myfmr.h"

namespace mirel {

/// Corrects all volumes of `fmr` in place through `vdm` (`applyVdm`, forward, without intensity
/// modulation; `transposed` for phase encoding along x) and saves the project, detached from its
/// anatomical reference image, with "_undist" added to its name.
/// @throws IOError when the copy cannot be written, std::logic_error when dimensions differ.
void correct_fmr(const Volume<float>& vdm, FMR& fmr, bool transposed);

/// The same for a DMR that was read from `fileName`.
void correct_dmr(const Volume<float>& vdm, const std::string& fileName, DMR& dmr, bool transposed);

/// Removes a project's link to its anatomical reference image: the values of "ShowAMRFile:" and
/// "LoadAMRFile:" where the header has these lines.
void detach_amr(FMR& fmr);
void detach_amr(DMR& dmr);

}  // namespace mirel
