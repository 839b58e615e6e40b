#pragma once

#include <string>

#include "containers/volume.h"

namespace mirel::nifti {

/// Throws Error, naming the file that is to be written, when a voxel of a result is NaN or
/// infinite: of finite inputs that is one whose size exceeds the range of 32-bit floats.
void requireFinite(const Volume<float>& result, const std::string& fileName);

}  // namespace mirel::nifti
