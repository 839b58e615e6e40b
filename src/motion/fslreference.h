#pragma once

#include <glm/mat4x4.hpp>
#include <string>
#include <vector>

#include "motion/givenmotion.h"
#include "nifti/header.h"

/// What FSL's transforms lead to: the grid of the reference, and the centre of its rotations.
namespace mirel {

/// The series that transforms are of.
struct MovedSeries {
  std::string file;
  const nifti::Header& header;
};

/// SeriesMotion::fromReference of matrices that lead from the volumes to the reference, both in
/// their coordinates of FSL. The reference's grid is that of the image that is given, or that of
/// the series where a volume is the reference: one that is given, or one that did not move.
/// Errors  Error where neither is known, and of a reference image that cannot be read.
std::vector<glm::dmat4> fslFromReference(const std::vector<glm::dmat4>& matrices,
                                         const GivenMotion& given, const MovedSeries& series);

/// The centre that the rotations of .par are about, in the reference's coordinates of FSL: the
/// centre of gravity of its intensities (those above 0), in a volume of the series by the first row
/// of zeros.
/// Errors  as above; Error for an image without intensities.
glm::dvec3 fslCentre(const std::vector<std::vector<double>>& rows, const GivenMotion& given,
                     const MovedSeries& series);

}  // namespace mirel
