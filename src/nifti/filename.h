#pragma once

#include <string>

/// Names of NIfTI images; none of these functions touches the file system.
namespace mirel::nifti {

/// Whether the name ends with .nii or .nii.gz.
bool hasNiftiName(const std::string& fileName);
/// The name without .nii or .nii.gz, with its folder.
std::string niftiStem(const std::string& fileName);

}  // namespace mirel::nifti
