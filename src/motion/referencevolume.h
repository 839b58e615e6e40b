#pragma once

#include <string>
#include <vector>

#include "containers/volume.h"
#include "motion/motionsamples.h"

/// The volume of a series to which the others are held.
namespace mirel {

/// A volume as it is compared: without spikes and background, voxels that are not finite as 0.
Volume<float> comparableVolume(Volume<float> volume, double background);

/// Among which a reference is looked for.
struct ReferenceSearch {
  std::string file;
  DistortedPlace place;
  std::vector<int> like;  ///< volumes of one contrast, counted from 0, ascending
  double background = 0;  ///< added to all intensities
  int threads = 0;        ///< 0: as many as there are cores
};

/// The volume that differs least from the mean of those that are not constant, by the sum of
/// absolute differences: near to all in time and place, and in the steady state.
///
/// It gives way where it is spoiled itself, such as by two places of the head in one volume, which
/// are near to the mean. Of the volumes, eight at most are compared: aligned to it (VolumeAligner),
/// half of them have a correlation of 1 - u or more. Where another one's u, of that to which this
/// one is as like as to most, is less than half, and less by 0.002, that is the reference. Where
/// less than half resemble it (a correlation of 0.5), the one that most resemble is.
/// Errors  those of nifti::Reader and of VolumeAligner.
int referenceVolume(const ReferenceSearch& search);

}  // namespace mirel
