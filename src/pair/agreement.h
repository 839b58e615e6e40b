#pragma once

#include "containers/volume.h"

namespace mirel {

/// 1 where a mean image exceeds the threshold between head and air, else 0.
Volume<float> headMask(const Volume<float>& mean, double threshold);

/// Correlation of two images in a mask; 0 where it is not defined.
double agreementOf(const Volume<float>& a, const Volume<float>& b, const Volume<float>& mask);

/// The same of a pair corrected with modulation, each image through its map in voxels along `axis`.
double agreementThrough(const Volume<float>& ofFirst, const Volume<float>& ofSecond, int axis,
                        const Volume<float>& first, const Volume<float>& second,
                        const Volume<float>& mask);

}  // namespace mirel
