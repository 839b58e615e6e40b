#pragma once

#include <optional>
#include <string>
#include <vector>

#include "convert/positionblock.h"
#include "files/projectheader.h"
#include "nifti/header.h"

/// What a project says about its place in the scanner, as an image header.
namespace mirel::convert {

/// The position block of a project. NRows and FoVRows are taken from it when they fit the
/// project's own matrix (NCols and FoVCols likewise), else from the in-plane resolution, and the
/// slice distance from the main block where the position block has none. Nothing when a centre
/// or direction line is missing.
std::optional<PositionBlock> positionOf(const ProjectHeader& project);

/// The data type of a project's samples: int16 or float32.
nifti::DataType sampleTypeOf(const ProjectHeader& project);

/// The image header of a project: dimensions, volumes, repetition time and geometry. The
/// geometry is the sidecar's when one fits (sidecar.h), else the position block's with code 1
/// (scanner) in both forms, else the voxel sizes alone with code 0; what was made do with is
/// added to `notes` as a sentence. The data type is the sidecar's, or int16 or float32 as the
/// project's own; there is no scaling. Throws Error for a project without voxels.
nifti::Header imageHeaderOf(const ProjectHeader& project, std::vector<std::string>& notes);

}  // namespace mirel::convert
