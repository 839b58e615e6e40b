#pragma once

#include <optional>

#include "containers/volume.h"
#include "masspreserving/linesolver.h"
#include "masspreserving/localbending.h"
#include "masspreserving/massmodel.h"
#include "masspreserving/motionstep.h"
#include "masspreserving/noise.h"
#include "masspreserving/objective.h"
#include "masspreserving/placetrust.h"
#include "masspreserving/ratiofit.h"
#include "masspreserving/voxelnoise.h"

namespace mirel {

/// What the estimate of noise and smoothness knows (see docs/mass-preserving.md).
struct FitStatistics {
  ResidualNoise noise;            ///< of r, in intensities
  double roughnessWeight = 0.0;   ///< prior precision alpha of the unit roughness form
  double degreesOfFreedom = 0.0;  ///< gamma: parameters that the data determine
};

/// Whether the strengths of the ratio's smoothness are estimated again.
enum class RatioEvidence { kept, updated };

/// One resolution of the estimate: Gauss-Newton steps on b, with the residuals' variance and the
/// strength of the smoothness estimated again after each.
class LevelFit {
 public:
  /// `ratio`: of the images' intensities, estimated along with b; null: none. `trust`: weights of
  /// the residuals besides their noise's; empty: 1.
  LevelFit(const MassModel<float>& model, glm::dvec3 spacing, Volume<float> start,
           FitStatistics statistics, RatioFit<float>* ratio = nullptr, Volume<float> trust = {});

  /// Of the displacement at the edges; 0 unless this is called before the first step.
  void setPriorMean(Volume<float> mean);

  /// Lets the roughness bend as the images and the displacement so far tell (LocalBending), with
  /// the strength that keeps its value. Call before the first step.
  void bendLocally();

  /// From the next `updateStatistics` on the noise is what `voxelNoise` tells of it there, and what
  /// it adds to the residuals between voxels is taken off (Objective::noiseVariance). Call at the
  /// images' own resolution: coarser ones have averaged theirs.
  void expectNoise() { expectsNoise = true; }

  struct Step {
    double energy, largestStep;
    int solverIterations;
  };
  /// One Gauss-Newton step with a line search that keeps every |stretch| below 1.
  Step step(double tolerance, int maxSolverIterations);

  /// A step of the motion, `pair` being the model's images at `motion`. b goes along; the model's
  /// images are then to be replaced, before anything else is called. No parameter moves the grid's
  /// farthest corner by more than about a voxel.
  MotionStep motionStep(const HalfWayPair& pair, const RigidMotion& motion, const GridPlace& place,
                        MotionResponse& response, double tolerance, int maxSolverIterations);

  /// Noise and weight from the current b. Call after `step`.
  void updateStatistics(NoiseTails tails, RatioEvidence evidence);

  /// What a filter has kept of the variance of white noise in the images, for `updateStatistics`. A
  /// smooth field meets all of the noise that there was before: the residuals' variance over this.
  void setNoiseKept(double part) { noiseKept = part; }

  /// Mean log likelihood of a residual over the whole volume, with the tails that fit it best.
  double logLikelihood();

  /// Which places stand out by their residuals, voxels counting by `weights`; empty: alike.
  PlaceTrust placesOver(const CoarseGrid& nodes, const Volume<float>& weights = {});

  /// How far the ratio of intensities varies (RatioFit::spread); 0 without one.
  double ratioSpread() const;

  /// Variance of the displacement at the voxels' centres given the images (see
  /// `posteriorVariance`).
  Volume<float> variance(int draws);

  const Volume<float>& displacement() const { return b; }
  const FitStatistics& statistics() const { return known; }

 private:
  void evaluate();
  double linearise();
  Roughness<float> form(double weight) const;
  void adaptBending();
  void updateWeights();
  NoiseFit noiseOf(NoiseTails tails) const;
  void updateNoise(NoiseTails tails);
  double traceEstimate();
  double shareLeft(const NoiseFit& fit) const;
  void updateRatioWeights();

  const MassModel<float>& model;
  glm::dvec3 spacing;
  Volume<float> b, trust;
  FitStatistics known;
  std::optional<LocalBending> bending;  // none: the same everywhere
  Objective<float> objective;
  double noiseKept = 1.0;
  bool expectsNoise = false;
  std::optional<VoxelNoise> ofVoxels;  // once it is found
  bool evaluated = false;  // whether the objective's residuals are those of b and the model now
  std::optional<LineSolver<float>> lines;  // of the last linearisation
  Volume<float> gradient, direction;
};

}  // namespace mirel
