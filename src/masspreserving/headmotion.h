#pragma once

#include <optional>

#include "containers/volume.h"
#include "masspreserving/levelfit.h"
#include "masspreserving/massmodel.h"
#include "masspreserving/motionstep.h"
#include "masspreserving/movedimage.h"

namespace mirel {

/// The head's motion from the first to the second image, as far as it is known.
struct HeadMotion {
  RigidMotion motion;
  double chiSquare = 0.0;   ///< of its parameters, by the last step
  MotionResponse response;  ///< of b, at the last step
};

/// The motion by one step from none, of a fit without motion that has come to its end: how far the
/// head moved if it moved little. `first` and `second` are the fit's images.
HeadMotion firstMotion(LevelFit& fit, const Volume<float>& first, const Volume<float>& second,
                       const GridPlace& place, double tolerance, int maxSolverIterations);

/// How much images that are taken along `motion` are softened along z (`MovedImage::soften`): s^2 /
/// (s^2 + 0.08^2), with s the root mean square of its displacement along z over the grid, in
/// voxels.
double softeningFor(const RigidMotion& motion, glm::ivec3 voxels, glm::dvec3 voxelMm);

/// The images of a model when the head moved between them.
class MovingPair {
 public:
  MovingPair(MassModel<float>& model, const Volume<float>& first, const Volume<float>& second,
             const GridPlace& place);

  /// Gives the model the pair half way of `motion`, with the displacement b (edges).
  const HalfWayPair& hold(const RigidMotion& motion, const Volume<float>& b);

  /// What the softening of the pair that is held keeps of the variance of white noise.
  double noiseKept() const { return ofWhiteNoise; }

  struct Step {
    double largestVoxels;  ///< that the farthest corner of the grid moved by
    int solverIterations;
  };
  /// A step of the motion that is held (call `hold` first), with the fit's displacement going
  /// along; the new one is held then. The images are those of the displacement at the last hold:
  /// they depend on it only as far as the motion turns, and making them is half of a step.
  Step step(LevelFit& fit, HeadMotion& head, double tolerance, int maxSolverIterations);

 private:
  MassModel<float>& model;
  GridPlace place;
  MovedImage first, second;
  double ofWhiteNoise = 1.0;
  std::optional<HalfWayPair> held;
};

/// What speaks for a motion that was estimated.
struct MotionEvidence {
  /// Root mean square of its displacement, without the translation along y, weighted with the
  /// squared signal.
  double displacementMm = 0.0;
  double chiSquare = 0.0;  ///< of its parameters (`chiSquareOf`)
  /// The residuals' variance without motion over that with it.
  double varianceRatio = 1.0;
  /// Mean of the displacement b in voxels, weighted in the same way.
  double meanShift = 0.0;

  /// `b` and the images are those of the resolution at `place`.
  MotionEvidence() = default;
  MotionEvidence(const Volume<float>& first, const Volume<float>& second, const Volume<float>& b,
                 const HeadMotion& head, const GridPlace& place);

  /// Whether there was motion that is worth the interpolation that it takes to undo it: by a
  /// twentieth of a voxel's shortest edge or more, not by chance, and with a good part of what the
  /// images differ by explained. Ghosts, say, can make a small rotation of a sphere significant,
  /// which then explains next to nothing of them.
  bool isMotion(double shortestEdgeMm) const;
  /// Whether that may still come out where this is the evidence of `firstMotion`: unless the
  /// displacement is less than half of what it has to be. (Its chi^2 does not count: the scatter
  /// still holds what a large motion explains, and bounds it by the number of blocks.)
  bool mayBeMotion(double shortestEdgeMm) const;

  /// Whether the head moved so far that it probably did so along y as well. Only the sum of half
  /// that translation and of the mean of b can be told from images. A head that hardly moved is
  /// taken not to have moved along y; of one that moved farther than scanners set their centre
  /// frequency wrong, the mean of b is taken for 0 (docs/mass-preserving.md).
  bool isLarge() const;
};

}  // namespace mirel
