#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/advice.h"
#include "pair/fieldscale.h"
#include "pair/pairfigures.h"

namespace mirel {

/// How far a result is to be trusted.
enum class Trust { trusted, doubtful, doNotTrust };

/// "trusted", "doubtful" or "do not trust".
std::string nameOf(Trust trust);

/// How well the two images of the pair agree in the head: correlation coefficients.
struct PairAgreement {
  /// Of the images as they came, and of the corrected ones as they are given out, with or without
  /// modulation.
  double before = 0, after = 0;
  /// Always with modulation, so that variants can be compared: corrected by the map, by its
  /// negative, and by column-wise estimates along the stated axis and along another one.
  double modulated = 0, negated = 0;
  /// The multiple of the map that makes them agree best; of a field that was measured only.
  std::optional<FieldScale> bestScale;
  std::optional<double> fastAlongAxis, fastAcross;  ///< none where that estimate failed
  int otherAxis = 0;

  /// Whether one image is the other, up to a factor: nothing is left that could tell a
  /// displacement, nor how far it may be off.
  bool isOfOneImage() const;
};

/// What speaks against a result: sentences that hold figure and limit, the gravest level of them,
/// and all that was measured.
struct Verdict {
  Trust trust = Trust::trusted;
  std::vector<Remark> reasons;
  PairFigures figures;

  /// One more reason. The level never falls.
  void add(Trust level, Remark reason);
};

/// What a verdict is about, in the words of the user.
struct PairNamesAndAxis {
  std::string first, second;  ///< titles of the images
  std::string statedBy;       ///< what says their directions
  std::string directions;     ///< "j- and j"
  std::string field = {};     ///< that was measured; empty: the map was estimated
};

/// By what a result was found, which decides what its figures can say.
enum class MapOrigin { massPreserving, search, measured };

/// Judges a result by its figures. The limits lie between those of pairs that belong together and
/// of such that do not (docs/correct.md has the table). A doubtful residual or doubtful totals
/// together with a field of doubtful size or roughness are not to be trusted.
///
/// A field that was measured and explains the images less than its opposite, than a multiple of it,
/// or than none, is not to be trusted; one that leaves more of their difference than good ones do
/// is doubtful, since the head may have moved since it was measured.
///
/// @param origin  of the map; of the search the residual says too little
Verdict judgePair(const PairFigures& figures, const PairAgreement& agreement, MapOrigin origin,
                  const PairNamesAndAxis& names);

/// Adds a doubt where the images are so noisy that the map is blurred beyond what its deviation
/// tells (docs/correct.md).
///
/// @param noiseOfSignal  what the mass-preserving estimate leaves of the images' difference per
///                       voxel and image, as a fraction of the signal; 0 of other estimates
void judgeNoise(double noiseOfSignal, const PairNamesAndAxis& names, Verdict& verdict);

}  // namespace mirel
