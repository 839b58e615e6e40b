#pragma once

#include <cstdint>
#include <string>

#include "bids/phaseencoding.h"
#include "field/grid.h"

/// Does a phase-encoding direction have the right sign? An image corrected through the map and
/// one corrected through the negated map are held against an undistorted reference.
namespace mirel {

/// An image and where it lies.
struct PlacedImage {
  Volume<float> values;
  glm::dmat4 affine{1.0};
  std::string name;
};

/// Normalised mutual informations that differ by more tell which image agrees better.
inline constexpr double decisiveNmiDifference = 0.002;

struct SignCheck {
  enum class Verdict { right, opposite, undecided };

  /// Agreement with the reference of the image as it was corrected, and of the one that was
  /// corrected with the opposite sign: normalised mutual information (below), 1 .. 2.
  double asGiven = 0;
  double opposite = 0;
  /// Correlation coefficients over the same voxels, for the reader; contrasts may differ.
  double correlationAsGiven = 0;
  double correlationOpposite = 0;
  /// Voxels that were compared.
  std::int64_t voxels = 0;
  Verdict verdict = Verdict::undecided;
};

/// Compares both images (the same grid, affine `affine`) with the reference, which is resampled
/// to their grid.
///
///   NMI = (H(image) + H(reference)) / H(image, reference)
///
/// from joint histograms of 32 x 32 bins between the 1st and 99th percentile of each
/// (Studholme, Hill, Hawkes 1999, Pattern Recognition 32:71): contrasts may differ as between
/// BOLD and b=0. Compared are the voxels of the head and three around it, where displacements
/// show most: the reference above Otsu's threshold, dilated, off neither image's grid. "right" or
/// "opposite" when one NMI exceeds the other by more than 0.002 (see the implementation),
/// "undecided" otherwise and with fewer than 100 voxels to compare.
/// Throws std::logic_error when the two images differ in size, Error for singular affines.
SignCheck compareSigns(const Volume<float>& asGiven, const Volume<float>& opposite,
                       const glm::dmat4& affine, const PlacedImage& reference);

}  // namespace mirel
