#pragma once

#include <string>

#include "containers/volume.h"
#include "files/project.h"

namespace mirel {

/// Corrects all volumes of `fmr` in place through `vdm` (`applyVdm`, forward, without intensity
/// modulation; `transposed` for phase encoding along x) and saves the project, detached from its
/// anatomical reference image, under its `correctedProjectName`.
/// @throws IOError when the copy cannot be written, std::logic_error when dimensions differ.
void correct_fmr(const Volume<float>& vdm, FMR& fmr, bool transposed);

/// The same for a DMR that was read from `fileName`.
void correct_dmr(const Volume<float>& vdm, const std::string& fileName, DMR& dmr, bool transposed);

/// The same for a project of either kind.
void correctProject(const Volume<float>& vdm, Project& project, bool transposed);

/// Removes a project's link to its anatomical reference image: the values of "ShowAMRFile:" and
/// "LoadAMRFile:" where the header has these lines.
void detach_amr(FMR& fmr);
void detach_amr(DMR& dmr);

/// The dimensions of a project's first volume, which stand for those of the project.
/// @throws std::runtime_error "File X has no volumes." when there are none in memory.
glm::ivec3 volumeDimensions(const Project& project);

/// @throws std::runtime_error "All datasets must have the same dimensions!" unless a equals b.
void requireSameDimensions(glm::ivec3 a, glm::ivec3 b);

}  // namespace mirel
