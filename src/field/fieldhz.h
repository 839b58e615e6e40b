#pragma once

#include <cstdint>
#include <string>

#include "bids/phaseencoding.h"
#include "field/grid.h"

/// Off-resonance fields in Hz on a grid of their own, and the shifts that they mean for an image.
namespace mirel {

/// A field map. `name` is what messages call it (its file).
struct FieldHz {
  Volume<float> hz;
  glm::dmat4 affine{1.0};  ///< voxel to mm
  std::string name;
  std::int64_t nonFinite = 0;  ///< voxels that readField set to 0
  bool isOriented = true;      ///< false where the affine is a guess: its image had no orientation
};

inline Grid gridOf(const FieldHz& field) { return {field.hz.dimensions(), field.affine}; }

/// Reads a field from a NIfTI image of one volume as if it were in Hz. Voxels that are NaN or
/// infinite count as 0 Hz and are counted in `nonFinite`. Throws Error: see nifti::Reader; more
/// than one volume, an orientation matrix that is singular, nothing but non-finite voxels.
FieldHz readField(const std::string& fileName);

/// Writes `field` as 32-bit floats with the orientation, its codes and the description of
/// `reference` (of the field's grid). Whole or not at all; throws Error.
void writeField(const FieldHz& field, const nifti::Header& reference, const std::string& fileName);

/// The displacement map of an image on the grid `target` in voxels along its phase-encoding axis,
/// to be applied forward: true(y) = I(y + shift(y)).
///
///   shift(v) = s * readoutSeconds * hz(v),   s = direction.sign
///
/// hz is taken to the target's grid by `resampleTo`: beyond the field's own grid the value at the
/// nearest border goes on. One product in double per voxel, narrowed to float; the opposite
/// direction thus gives exactly the negated map. Throws Error for a readout time that is
/// not positive and finite, and for a singular affine.
Volume<float> shiftVoxels(const FieldHz& field, const Grid& target,
                          bids::PhaseEncodingDirection direction, double readoutSeconds,
                          Interpolation interpolation = Interpolation::linear);
Volume<float> shiftVoxels(const FieldHz& field, const nifti::Header& target,
                          bids::PhaseEncodingDirection direction, double readoutSeconds,
                          Interpolation interpolation = Interpolation::linear);

/// The reverse on the map's own grid: hz = s * shift / readoutSeconds, in double, narrowed to
/// float. Through both functions a shift comes back to within one unit in the last place.
FieldHz fieldFromShift(const Volume<float>& shift, const Grid& grid,
                       bids::PhaseEncodingDirection direction, double readoutSeconds,
                       const std::string& name);

}  // namespace mirel
