#pragma once

#include <optional>

#include "containers/volume.h"

namespace mirel {

/// What a field would have to be multiplied by for the images to agree best.
struct FieldScale {
  double factor = 1;
  double agreement = 0;  ///< of the images corrected by that multiple (agreementThrough())
};

/// The factor out of a list by which a field, taken that many times, makes the two images of a pair
/// agree best: multiples by which fields of other units are wrong (a turn, 2 pi; the readout time,
/// of either sign, for displacements in voxels) and a rough scale of others. None is so near to 1
/// that smoothing of the field, or motion of the head since, could make the difference.
///
/// @param first, second    the images
/// @param ofFirst, ofSecond  their maps, of the field as it is, in voxels along `axis`
/// @param mask             1 where the images are compared
/// @param asItIs           agreementThrough() by the field as it is
/// @param readoutSeconds   total readout time of the first image
FieldScale bestFieldScale(const Volume<float>& first, const Volume<float>& second,
                          const Volume<float>& ofFirst, const Volume<float>& ofSecond, int axis,
                          const Volume<float>& mask, double asItIs,
                          std::optional<double> readoutSeconds);

}  // namespace mirel
