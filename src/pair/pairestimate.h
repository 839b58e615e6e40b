#pragma once

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "base/progress.h"
#include "field/corrector.h"
#include "masspreserving/ghost.h"
#include "numerics/rigidmotion.h"
#include "pair/pairinput.h"
#include "pair/startagreement.h"
#include "pair/verdict.h"
#include "vdm/estimatepair.h"

/// From a pair of images to its map, with the doubts that there are about it.
namespace mirel {

/// By what method the map is estimated.
enum class Estimator {
  search,          ///< the estimate task's own: column-wise fit, then local search scale by scale
  massPreserving,  ///< conserves signal that piles up or thins out (docs/mass-preserving.md)
  none,            ///< not estimated: the map of a field that was measured, PairInput::start
};

std::string nameOf(Estimator estimator);

struct EstimateSettings {
  Estimator estimator = Estimator::massPreserving;
  /// Of the mass-preserving estimate: allow for motion of the head between the images.
  bool motion = true;
  /// Of the mass-preserving estimate: also tell how uncertain the map is.
  bool uncertainty = false;
  /// Of the mass-preserving estimate; 0: as many as there are cores. The map is the same bits.
  int threads = 1;
  /// Of the search. The default is the variant closest to measured fields (docs/accuracy.md).
  EstimateOptions search{.fast = false, .useSsd = false, .intensityCorrection = true};
  /// Factor on the intensities; 0: such that the estimators' threshold of 100 lies between head
  /// and air.
  double intensityScale = 0;
  /// Whether the corrected images are scaled by the local density change. Nothing: as the estimator
  /// has it: with the mass-preserving one, whose model it is, and with a measured field, not with
  /// the search.
  std::optional<Modulation> modulation;
  /// Of the corrected images. The map, and what is found and judged, do not depend on it.
  InterpolationKernel interpolation = InterpolationKernel::cubic;

  /// The search knows no motion.
  bool looksForMotion() const { return motion && estimator == Estimator::massPreserving; }

  Modulation usedModulation() const {
    return modulation.value_or(estimator == Estimator::search ? Modulation::off : Modulation::on);
  }
};

/// What was found about a pair, but for the images.
struct PairFindings {
  Estimator estimator = Estimator::massPreserving;
  double intensityScale = 1;
  /// Intensity that was added to all of each image (addedBackground): the mass-preserving estimate
  /// takes it off, and modulation leaves it as it is. 0 with the search.
  double backgroundA = 0, backgroundB = 0;
  /// Intensity between head and air, of the images less their background.
  double threshold = 0;
  /// Fraction of the voxels above the threshold in either image.
  double foregroundA = 0, foregroundB = 0;
  /// The part of the head (of the uncorrected mean) that the pair's mask takes; 1 without one.
  double partOfHead = 1;
  /// partInCutColumns of it.
  double cutByMask = 0;
  /// Of the mass-preserving estimate: intensity of A over that of B, and the head's motion from A
  /// to B in mm along i, j, k and about the middle of the grid, if there was any.
  double intensityRatio = 1;
  /// Whether that ratio varies with place or with the intensity, and its standard deviation then.
  bool shading = false, contrast = false;
  double intensityRatioSpread = 0;
  std::optional<RigidMotion> motion;
  /// Of the mass-preserving estimate: the part of the squared signal in places where the images
  /// do not belong together, which hardly count (PlaceTrust).
  double shareOut = 0;
  /// Of the mass-preserving estimate: the Nyquist ghosts that were taken off for it.
  PairGhosts ghosts;
  /// Those that were found in the air and left in.
  PairGhosts ghostsLeft;
  /// Of the mass-preserving estimate: what its residuals leave per voxel and image, as a fraction
  /// of the signal, and nu of the Student's t distribution whose scale that is (infinite: normal).
  double noiseOfSignal = 0, noiseTails = std::numeric_limits<double>::infinity();
  /// Of the map with what it started from, where the pair has that.
  std::optional<StartAgreement> withStart;
  PairAgreement agreement;
  /// Its reasons are the warnings about the pair's result.
  Verdict verdict;
};

struct PairEstimate : PairFindings {
  /// Voxels along the phase-encoding axis; forward for A, and negated forward for B.
  Volume<float> shift;
  /// Standard deviation of `shift` given the images, where it was asked for and the images are not
  /// one (PairAgreement::isOfOneImage), which would make it 0.
  std::optional<Volume<float>> deviation;
  /// B is corrected in the head's place in A.
  Volume<float> correctedA, correctedB, mean;
  /// The mean of the images without spikes, by cubic splines, where it is another one: what others
  /// are compared with, and the head is found in.
  std::optional<Volume<float>> otherMeanToCompare;

  const Volume<float>& meanToCompare() const {
    return otherMeanToCompare ? *otherMeanToCompare : mean;
  }
};

/// What else is known of a pair's map: changes the estimated map in voxels, and its standard
/// deviation, before the images are corrected by it.
using ChangeMap = std::function<void(Volume<float>& shift, Volume<float>& deviation)>;

/// Estimates the map of a pair and corrects both images.
///
/// By the search the map is that of the estimate task for the projects that A and B become, bit for
/// bit, when the intensity scale is 1 and the voxel sizes need no more than the six digits that a
/// project's header has; with a phase-encoding axis other than y that axis and y are
/// exchanged before and after. B is corrected by the negated map.
///
/// The mass-preserving estimate is that of the images less their background, and so is what is
/// modulated: corrected = (image - background) through the map, times its Jacobian, + background.
/// It weighs the voxels by the pair's mask and starts from the pair's start. The search knows
/// neither; the figures and the verdict look where the mask does in any case.
///
/// Without an estimator the map is the pair's start as it is, and the head is taken to be in both
/// images where it was when that was measured.
///
/// Spikes    of the images (InputImage::spikes) are replaced by what is around them (withoutSpikes)
///           for the map and all that is found. The corrected images keep them, but for one whose
///           motion is undone: interpolation in all directions would spread them.
/// Interpolation  of the corrected images and of their mean. By cubic splines a head that moved is
///           brought back before its image is corrected, otherwise both are done at once. All that
///           is found is found by cubic splines, but for the correlation of the corrected images.
/// Verdict   that of judgePair, and doubtful for a threshold with nearly everything or nothing
/// above
///           it. Its reasons name the images or sidecars.
/// Errors    Error when head and air cannot be told apart or no map comes out (a fit that diverges
///           everywhere); what `progress` throws.
PairEstimate estimatePairMap(const PairInput& pair, const EstimateSettings& settings,
                             Progress& progress);

/// The same with a change of the map, for which the mass-preserving estimate finds the deviation.
PairEstimate estimatePairMap(const PairInput& pair, const EstimateSettings& settings,
                             Progress& progress, const ChangeMap& change);

}  // namespace mirel
