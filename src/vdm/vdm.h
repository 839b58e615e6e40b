#pragma once

#include <glm/vec3.hpp>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// Applying, inverting, checking and repairing a voxel displacement map (VDM): a float volume of
/// the image's dimensions that holds, per voxel, a shift in voxels along y, the phase-encoding
/// axis.
///
///   forward:  dst(x, y, z) = src(x, y + vdm(x, y, z), z)
///   reverse:  dst(x, y, z) = src(x, y - vdm(x, y, z), z)
///
/// The AP image is corrected forward and the PA image in reverse with one and the same map.
/// Intensities are not scaled by the Jacobian unless a function says so.
///
/// `dst` and `vdm` have the dimensions of `src`, and `dst` is another object than `src`; else
/// std::logic_error before `dst` is touched.

/// Linear interpolation (`Volume::linear`), for float and double images: samples off the grid
/// count as 0, so values fade out over the last voxel. Positions in single precision.
template <typename T>
void applyVdmYLinear(Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm, bool reverse);
template <typename T>
void applyVdmYLinearReverse(Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm);

/// Cubic B-spline interpolation (`numerics/bspline.h`), computed in double, narrowed to float.
/// Values decay to 0 within two voxels beyond the y borders.
void applyVdmYSpline(Volume<float>& dst, const Volume<float>& src, const Volume<float>& vdm,
                     bool reverse);
void applyVdmYSplineReverse(Volume<float>& dst, const Volume<float>& src, const Volume<float>& vdm);

/// Linear resampling of the listed voxels only, through vdm plus `factor` times a local pattern;
/// `localVoxels[k]` is the pattern's voxel that is added at `voxels[k]`. Voxels whose position
/// does not lie strictly between the first and the last row keep what `dst` held. The lists are
/// not checked: they are parallel and address existing voxels.
void applyVdmPlusLocalYLinearFast(Volume<float>& dst, const Volume<float>& src,
                                  const Volume<float>& vdm, const std::vector<glm::ivec3>& voxels,
                                  const Volume<float>& localVdm,
                                  const std::vector<glm::ivec3>& localVoxels, float factor,
                                  bool reverse);
void applyVdmPlusLocalYLinearReverseFast(Volume<float>& dst, const Volume<float>& src,
                                         const Volume<float>& vdm,
                                         const std::vector<glm::ivec3>& voxels,
                                         const Volume<float>& localVdm,
                                         const std::vector<glm::ivec3>& localVoxels, float factor);

/// The inverse map: per column the piecewise linear inverse of y -> y + vdm, minus y. Rows that
/// no pair of neighbouring mapped positions encloses (always the last row of a zero map) are 0.
/// Columns are taken as ascending; in a folded one the binary search ends where it falls.
Volume<float> invertVDM(const Volume<float>& vdm);

/// Number of y-neighbours that differ by more than one voxel (folds and gaps).
int nrOfErrorsInVDM(const Volume<float>& vdm);

/// Removes such steps in place: as long as a column has one, each scan of it moves the two
/// values of every step by 0.05 towards each other. Steps that are too large or not finite for
/// 0.05 to change anything stay.
/// @return the number of single adjustments over the whole volume.
int smoothErrors(Volume<float>& vdm);

/// Index of the first element of smallest magnitude; 0 for fewer than two elements.
int indexLowestAbsoluteValue(const std::vector<float>& values);

/// Scales an AP/PA pair by the local density change that the map implies:
///
///   apOut = apIn * (1 - d)(y + vdm),   paOut = paIn * (1 + d)(y - vdm),
///
/// d being the y derivative of the inverse map. Geometry is not changed.
void correctIntensities(Volume<float>& apOut, Volume<float>& paOut, const Volume<float>& apIn,
                        const Volume<float>& paIn, const Volume<float>& vdm);

/// The corrected image: forward spline resampling, with `intensityCorrection` multiplied by the
/// Jacobian 1 + d vdm/dy. With `rllr` (phase encoding along x) the image is transposed in x and
/// y, corrected and transposed back; the map must have the transposed image's dimensions.
Volume<float> applyVdm(const Volume<float>& vdm, const Volume<float>& volume, bool rllr,
                       bool intensityCorrection);

}  // namespace mirel
