#pragma once

#include "phantom/object.h"

namespace mirel {

/// Of a gradient-echo image at a short repetition time, against the spin echo of
/// Anatomy::signal: fluid is no brighter than white matter, and grey matter brightest.
inline constexpr TissueContrast gradientEchoContrast{.csf = 0.5F, .grey = 1.0F, .white = 1.15F};

/// Takes from a density (in cells, as HeadObject::density) the signal that a gradient echo loses
/// by dephasing through the slice, along z:
///
///   density * |sin(x) / x|,    x = pi * echoTimeSeconds * df,
///
/// df being the change of the field in Hz over the thickness of a slice, by central differences
/// (one-sided in the outermost slices).
/// Shapes   density: (c nx, c ny, nz), fieldHz: (nx, ny, nz).
/// Errors   std::invalid_argument where the shapes do not fit.
void dephase(Volume<float>& density, const Volume<float>& fieldHz, double echoTimeSeconds);

}  // namespace mirel
