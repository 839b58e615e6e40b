#pragma once

#include <string>
#include <vector>

#include "phantom/phantom.h"

namespace mirel {

/// Writes a phantom into `folder` (made if it does not exist) and returns the files' paths.
///
/// For phase encoding along y, with the names that the Brain Imaging Data Structure gives them
/// (along x, RL stands for AP and LR for PA):
///
///   sub-phantom_dir-AP_epi              distorted image, "j-"
///   sub-phantom_dir-PA_epi              distorted image, "j"
///   sub-phantom_task-rest_dir-AP_bold   series, "j-"; none for a phantom without volumes
///   sub-phantom_desc-undistorted_epi    the truth of both, without noise
///   sub-phantom_desc-truth_displacement b in voxels: forward for AP, reverse for PA
///   sub-phantom_desc-truth_fieldmap     field in Hz
///   sub-phantom_desc-brain_mask, sub-phantom_desc-head_mask
///   sub-phantom_desc-moved_epi, sub-phantom_desc-moved_displacement
///                                       with motion: the truth where the head is in the PA image
///
///   sub-phantom_desc-undistorted_bold   with motion or gradient echoes of the series: its truth
///
/// each as .nii.gz with a .json sidecar; the first three as .fmr and .stc too. Images and masks
/// are integers, the truth is in 32-bit floats. x points to the right, y anterior, z superior.
///
/// Equal phantoms make equal files. They appear, replacing older ones of the same names, when
/// all of them have been written.
///
/// Errors  Error or IOError with the file's name and the fault; a disk without room for the files.
std::vector<std::string> writePhantom(const Phantom& phantom, const std::string& folder);

}  // namespace mirel
