#pragma once

#include "containers/volume.h"

namespace mirel {

/// Bringing images to the scale on which the estimators tell a head from air.

/// The intensity above which the estimators take a voxel for foreground.
inline constexpr double estimatorThreshold = 100.0;

/// The intensity that separates head from air in a magnitude image: Otsu's threshold of the
/// square roots of the intensities,
///
///   t^2,   t = argmax n0(t) n1(t) (m1(t) - m0(t))^2,
///
/// n and m being the number and the mean of the roots below and above t (N. Otsu, IEEE Trans.
/// Syst. Man Cybern. 9:62, 1979). The root keeps bright fluid from making a class of its own;
/// the brightest 2 % count as the 98th percentile for the same reason. Of equally good
/// thresholds, as in a gap of the histogram, the middle one is taken.
///
/// Units    those of the image; a scaled image has a threshold scaled alike (to 1/1000).
/// Edges    negative intensities count as 0. 0 when fewer than two different intensities remain
///          (a constant image).
/// NaN      and infinite voxels are left out.
double headThreshold(const Volume<float>& image);

/// Fraction of the voxels that exceed `threshold`; 0 for an empty volume.
double fractionAbove(const Volume<float>& image, double threshold);

/// The voxel-wise mean of two images of equal dimensions.
Volume<float> meanOf(const Volume<float>& a, const Volume<float>& b);

}  // namespace mirel
