#pragma once

#include "containers/volume.h"

namespace mirel::picture {

/// 1 where a magnitude image has the head's signal, 0 elsewhere: above a quarter of the intensity
/// that separates head from air (headThreshold) and above the air's noise, in pieces
/// (their voxels touch with their faces) of at least a twentieth of the largest; with the cavities
/// that these enclose, and smoothed: twice, voxels that disagree with most of their 26 neighbours
/// change sides. NaN is outside. An image without contrast is all inside where it is above 0.
Volume<float> signalMask(const Volume<float>& image);

/// The same with what it encloses in any slice of the array, along any axis: bone, sinuses and
/// airways belong to the head, too.
Volume<float> headMask(const Volume<float>& image);
/// Of an image whose signalMask is known.
Volume<float> headMaskAround(const Volume<float>& signal);

/// The level on which the outline of a mask runs: halfway between its two values for an image of
/// two values (0 and 1, 0 and 255), 0.5 for one of values from 0 to 1 (probabilities), else half
/// of the least value above 0 (labels: everything that is labelled).
float maskLevel(const Volume<float>& mask);

/// Whether an image has two different values at most, the lower of which is 0.
bool isBinary(const Volume<float>& image);

}  // namespace mirel::picture
