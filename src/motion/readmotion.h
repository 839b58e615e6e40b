#pragma once

#include <string>

#include "motion/givenmotion.h"
#include "nifti/header.h"

namespace mirel {

/// Reads where the head was in each volume of `series`, whose header this is. The form is told by
/// the file: a folder holds FSL's matrices, rows of twelve numbers are AFNI's, transforms of ITK
/// say so; rows of six are FSL's if the name ends with .par, and anybody's otherwise.
///
/// FSL's transforms are between the grids of two images, so that the reference must be known: a
/// volume that did not move tells that it is one of the series. The angles of .par are about the
/// centre of gravity of the reference's intensities.
///
/// Errors  Error, naming file and fault: see numbersOf and the readers of the forms; another number
///         of transforms than volumes; a form that is not known, or not that of the program said; a
///         reference that has to be said; a volume said to be the reference that is not in its
///         place; what requireHeadMotion refuses.
SeriesMotion readSeriesMotion(const GivenMotion& given, const std::string& series,
                              const nifti::Header& header);

}  // namespace mirel
