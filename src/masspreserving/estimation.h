#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "masspreserving/coarsegrid.h"
#include "masspreserving/headmotion.h"
#include "masspreserving/levelfit.h"
#include "masspreserving/massmodel.h"
#include "masspreserving/masspreserving.h"
#include "masspreserving/pyramid.h"
#include "masspreserving/ratiofit.h"

namespace mirel {

// Of conjugate gradients.
inline constexpr double solverTolerance = 0.2;
inline constexpr int mostSolverIterations = 60;

/// What of the ratio of intensities is free: shading as polynomials up to degree 2, contrast, or
/// both.
struct RatioModel {
  int degree = 0;
  bool contrast = false;

  bool isNone() const { return degree == 0 && !contrast; }
};

/// How much a ratio has to vary to be one, as a standard deviation of its logarithm in the signal.
inline constexpr double leastRatioSpread = 0.0175;

/// How often all is fitted anew without the places that stand out. The first fit bends the field to
/// what is spoiled, so that its residuals tell the worst of it only; those of the second tell the
/// rest. A third one leaves out what is not spoiled.
inline constexpr int mostRefits = 2;

/// One estimate from its images to its result (estimateMassPreserving): resolution by resolution,
/// with a motion and a ratio of intensities where the images ask for them.
class Estimation {
 public:
  Estimation(const MassPreservingOptions& wanted,
             const std::function<void(const MassPreservingProgress&)>& listener)
      : options(wanted), progress(listener) {}

  MassPreservingResult run(const Volume<float>& first, const Volume<float>& second,
                           const glm::dvec3& voxelMm);

 private:
  using Images = std::pair<Volume<float>, Volume<float>>;
  enum class Head { still, moving };
  enum class Ratio { taken, inQuestion };
  void setImages(const Volume<float>& first, const Volume<float>& second);
  void makeImages(const Volume<float>& first, const Volume<float>& second);
  double withoutGhosts(const Volume<float>& first, const Volume<float>& second,
                       const PairGhosts& ghosts);
  void chooseGhosts(const Volume<float>& first, const Volume<float>& second);
  Volume<float> startOn(int level) const;
  Volume<float> trustOn(int level) const;
  Volume<float> weightsOn(int level) const {
    return weights.empty() ? Volume<float>() : weights[static_cast<std::size_t>(level)];
  }
  void fitCoarse(Head mode);
  void fitLevel(int level, Head mode);
  void startLevel(int level, Head mode);
  void runLevel(int level, Head mode, Ratio ratio = Ratio::taken);
  // A resolution's model and fit, with what is known so far, from a displacement.
  struct Work {
    MassModel<float> model;
    std::optional<MovingPair> moving;
    std::optional<RatioFit<float>> ratio;
    std::optional<LevelFit> fit;

    Work(const Estimation& of, int level, Head mode, Volume<float> from);
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
  };
  void keep(const Work& work);
  void finish(Head mode);
  // What a fit of the resolutions so far has found.
  struct State {
    PlaceTrust trust;  // that the fit is made with
    Volume<float> b;
    FitStatistics statistics;
    HeadMotion head;
    RatioModel model;
    RatioKnowledge ratio;
    double ratioSpread = 0.0;
    double logLikelihood = 0.0;  // of a residual, at half the resolution
  };
  // A fit of the coarse resolutions with motion, or without where there was none, and why.
  struct MotionFit {
    State fit;
    MotionEvidence evidence = {};
    bool moved = false;

    bool isClear() const;
  };
  void startRatio();
  State withRatio(RatioModel model, const State& from, Head mode);
  bool chooseRatio(Head mode);
  bool ratioExplains(const State& with, const State& without, double gain) const;
  RatioBasis<float> ratioBasis(int level) const;
  CoarseGrid nodesOver(int level, double cells) const;
  CoarseGrid places(int level) const;
  bool fitAll();
  // Whether no place stands out, or the places were looked for often enough.
  bool isLastFit() const { return standingOut.isWhole() || refits == mostRefits; }
  glm::dvec3 voxelPart(int level) const {
    return glm::dvec3(gridOf(level).factor) / glm::dvec3(levels.front().voxels);
  }
  MotionFit findMotion(State still);
  MotionEvidence firstEvidence() const;
  MotionEvidence evidenceNow() const;
  MotionFit ratioBeside(const MotionFit& moved);
  MotionFit motionBeside(const MotionFit& plain);
  void take(const MotionFit& found);
  Volume<float> seenByFirst(const Volume<float>& halfWay) const;
  void finishDeviation();
  void report(int level, int iteration, const LevelFit::Step& step, const FitStatistics& at);

  const PyramidLevel& gridOf(int level) const { return levels[static_cast<std::size_t>(level)]; }
  const Images& imagesOf(int level) const { return images[static_cast<std::size_t>(level)]; }
  GridPlace placeOfLevel(int level) const {
    return placeOf(levels.front().voxels, levels.front().voxelMm, gridOf(level).factor);
  }
  bool isCoarsest(int level) const { return level + 1 == static_cast<int>(levels.size()); }

  const MassPreservingOptions& options;
  const std::function<void(const MassPreservingProgress&)>& progress;
  std::vector<PyramidLevel> levels;
  std::vector<Images> images;
  std::vector<Volume<float>> weights;   // of the options, by resolution; none: all alike
  double logScale = 0.0, signal = 1.0;  // of the images: their ratio, and their level
  State now;
  PlaceTrust standingOut;  // by the last fit at the finest resolution
  int refits = 0;          // made without places that stood out
  MassPreservingResult result;
};

}  // namespace mirel
