#pragma once

#include <string>

#include "field/grid.h"
#include "motion/seriesmotion.h"

namespace mirel {

/// The middle of a grid in mm.
glm::dvec3 middleOf(const Grid& grid);

/// How far a motion displaces a head: the root mean square over a ball of 80 mm about the middle of
/// a grid, in mm (M. Jenkinson, FMRIB technical report TR99MJ1, 1999).
///
///   sqrt(r^2 / 5 tr(A^T A) + |t + A c|^2),     [A | t] = m - 1, c the middle, r = 80 mm
double displacementMm(const glm::dmat4& m, const Grid& grid);

/// Why a transform of images on `grid` is no motion of a head, as a sentence goes on: "scales or
/// shears, by ..."; empty: it can be one. For the limits see requireHeadMotion.
std::string faultOfMotion(const glm::dmat4& m, const Grid& grid);

/// Refuses transforms that are no rigid motions of a head within a scanner, whose images lie on
/// `grid`.
/// Errors  Error, naming the file, the place in it (or the file of the matrix) and the fault: a
///         scale or shear of more than a thousandth; a reflection; the middle of the grid displaced
///         by more than 40 mm; a rotation by more than 30 degrees.
void requireHeadMotion(const SeriesMotion& motion, const Grid& grid);

/// Where in its file the transform of a volume stands: "row 3", "transform 2"; empty: it has a file
/// of its own.
std::string placeInFile(const SeriesMotion& motion, std::size_t volume);

}  // namespace mirel
