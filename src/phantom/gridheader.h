#pragma once

#include <string>

#include "nifti/header.h"
#include "phantom/object.h"

namespace mirel {

/// Of the scanner that phantoms tell of.
inline constexpr double fieldStrengthTesla = 2.89;

/// The header of an image on the grid of a phantom: x to the right, y anterior, z superior, the
/// middle of the grid at the origin, in scanner coordinates.
nifti::Header headerOn(const PhantomGrid& grid, nifti::DataType type, int volumes,
                       double repetitionTimeSeconds, const std::string& description);

}  // namespace mirel
