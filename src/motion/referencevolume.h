#pragma once

#include "containers/volume.h"
#include "motion/realignment.h"

/// The volume of a series to which the others are held.
namespace mirel {

/// A volume as it is compared: without spikes and background, voxels that are not finite as 0.
Volume<float> comparableVolume(Volume<float> volume, double background);

/// Of the volumes `like` the one that differs least from the mean of those that are not constant,
/// by the sum of absolute differences: near to all in time and place, and in the steady state.
///
/// It gives way where it is spoiled itself, such as by two places of the head in one volume, which
/// are near to the mean. Of the volumes, eight at most are compared: aligned to it (VolumeAligner),
/// half of them have a correlation of 1 - u or more. Where another one's u, of that to which this
/// one is as like as to most, is less than half, and less by 0.002, that is the reference. Where
/// less than half resemble it (a correlation of 0.5), the one that most resemble is.
/// Errors  those of nifti::Reader and of VolumeAligner.
int referenceVolume(const SeriesToRealign& series);

}  // namespace mirel
