#pragma once

#include "containers/volume.h"

namespace mirel {

/// Where a measured field can be believed, and how far.
struct MeasuredHead {
  Volume<float> inside;       ///< 1 in the head, cavities included; 0 elsewhere
  Volume<float> reliability;  ///< signal over its median; 0 outside the head and in voids
};

/// Of a magnitude of the field map's grid: the head is picture::headMask, its signal where the
/// magnitude is above a quarter of the intensity that separates head from air (headThreshold)
/// within the head. A reliability is at most 3.
MeasuredHead headOfMagnitude(const Volume<float>& magnitude);

/// Without a magnitude: the mean quality (EdgeQuality) of a voxel's edges tells head from noise and
/// makes up its magnitude; every voxel of the head that it does not doubt has the reliability 1.
MeasuredHead headOfPhase(const Volume<float>& radians);

}  // namespace mirel
