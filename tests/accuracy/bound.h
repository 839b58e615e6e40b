#pragma once

#include "accuracy/spoiledpairs.h"
#include "masspreserving/masspreserving.h"

namespace mirel {

/// The least error that the images allow, as mean squares in squared voxels where the pair is
/// scored. All is linearised at the true displacement b and the images without noise: Jacobian J
/// of the residuals, variance v of their noise where it is scored, roughness form R with the
/// strength alpha, H = J'J / v + alpha R.
struct Bounds {
  /// Of fields that alpha R is the prior of and of white noise: the mean of the diagonal of H^-1
  /// (H. L. van Trees, Detection, Estimation, and Modulation Theory, part I, 1968, section 2.4).
  double bayesian = 0.0;
  /// Of the linear estimate of this field: of H^-1 (J'n / v + alpha R b), n the images' noise as
  /// the residuals have it, with the alpha for which that is least.
  double linear = 0.0;
  /// The same with what the residuals are at the truth without noise: the model's own misfit.
  double linearWithMisfit = 0.0;
  double roughnessWeight = 0.0;  ///< that alpha
};

/// Of the pair that `spoiling` makes of `head`, over its noise and two further draws of it. The
/// search for alpha starts at `roughnessWeight`, in steps of a factor of 1.5.
Bounds boundsOf(const Spoiling& spoiling, const SpoilableHead& head, double roughnessWeight);

/// Prints the estimate's error over the bounds for the rows whose model holds and whose name holds
/// the text: a table in Markdown.
void printBounds(const std::vector<SpoilableHead>& heads, const std::string& row,
                 const MassPreservingOptions& options);

}  // namespace mirel
