#pragma once

#include "containers/volume.h"
#include "phantom/fft.h"
#include "phantom/shim.h"

namespace mirel {

/// Proton resonance per part in a million of a field of 2.89 T along z.
inline constexpr double larmorHzPerPpm = 123.2;

/// The field in Hz that a susceptibility map in ppm makes in a main field along z, to first order
/// and without the Lorentz sphere:
///
///   df(k) = larmorHzPerPpm (1/3 - kz^2 / k^2) chi(k),   df(0) = 0
///
/// Salomir, de Senneville & Moonen, Concepts Magn. Reson. B 19:26 (2003). The map repeats on all
/// sides, so it should have margins.
Volume<double> dipoleFieldHz(const Volume<double>& chiPpm, glm::dvec3 voxelMm);

/// The shimmed field of a susceptibility map as the tissue sees it, at any smoothness. At the
/// surface of a cavity the field jumps, and air gives no signal: only values in tissue enter the
/// average, each voxel with its share of tissue. Air has susceptibility 0 in the map.
class TissueField {
 public:
  TissueField(const Volume<double>& chiPpm, glm::dvec3 voxelMm, const Shim& shim);

  /// The average over the tissue with a Gaussian of this standard deviation, of at least 1.5
  /// voxels (narrower ones ring), continued smoothly where no tissue is near.
  Volume<double> smoothed(double sigmaMm);

 private:
  Fft fft;
  Fft::Spectrum weighted, weight;
};

}  // namespace mirel
