#pragma once

#include "containers/volume.h"

namespace mirel {

/// Mean intensity weighted with the intensity, in size; 0 for an image without signal. Values that
/// are not finite do not count.
double signalLevel(const Volume<float>& image);

/// Log of the ratio of two images' signal, the first over the second: distortion along y leaves a
/// column's total as it is, so the median over the columns, weighted with their signal, needs no
/// displacement. 0 where no column has signal in both. A column counts as much as its voxels do by
/// `weights` in the mean; empty: all alike.
double logSignalRatio(const Volume<float>& first, const Volume<float>& second,
                      const Volume<float>& weights = {});

/// The image times a factor; values that are not finite become 0.
Volume<float> scaledImage(const Volume<float>& image, double factor);

}  // namespace mirel
