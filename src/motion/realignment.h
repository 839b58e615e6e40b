#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "motion/seriesmotion.h"
#include "motion/volumealigner.h"

/// The motion within a series, found from its images.
namespace mirel {

struct SeriesToRealign {
  std::string file;
  DistortedPlace place;
  std::vector<int> like;  ///< volumes of one contrast, counted from 0, ascending
  double background = 0;  ///< added to all intensities
  int threads = 0;        ///< 0: as many as there are cores
  /// To which the others are held; nothing: that which is chosen (referenceVolume).
  std::optional<int> reference = {};
  /// Told how much is done, 0 .. 1, from any thread but never from two at a time.
  std::function<void(double)> done = {};
};

/// What was found of one volume.
struct RealignedVolume {
  enum class Outcome {
    moved,
    notMoved,   ///< not by more than could be chance
    uncertain,  ///< the same, but chance could be half a millimetre or more, as in another contrast
    refused,    ///< what was found is no motion of the head
  };
  int volume = 0;
  Outcome outcome = Outcome::notMoved;
  glm::dmat4 motion{1.0};      ///< where it moved
  double displacementMm = 0;   ///< that was found, whether it was taken or not (displacementMm)
  double standardErrorMm = 0;  ///< of it
  double correlation = 1;      ///< with the reference, with the motion that was found
  std::string reason = {};     ///< why it was refused: "it does not resemble ..."
};

struct Realignment {
  int reference = 0;                     ///< volume to which the others are held
  std::vector<RealignedVolume> volumes;  ///< those of SeriesToRealign::like
  std::string notPossible =
      {};  ///< why nothing was looked for: "too few voxels ..."; empty: it was
};

/// Judges what a VolumeAligner found.
///
/// Moved      the head was displaced by a hundredth of the grid's longest voxel edge or more, and
///            by 3 standard errors.
/// Uncertain  not moved so, but displaced by half a millimetre or more.
/// Refused    a correlation below 0.5; no end of the search; a displacement of the grid's middle by
///            more than 40 mm or a rotation by more than 30 degrees; less than 3/10 of the places
///            compared in the volume; a standard error above 1 mm.
RealignedVolume judgedFit(const VolumeFit& fit, const Grid& grid);

/// Volumes that were neither refused nor uncertain, but resemble the reference much less than most
/// do: what their correlation lacks of 1 is more than 4 times what the middle one of all that were
/// not refused lacks, and by more than 0.01. They may be spoiled, as by shading, and what was found
/// of them may be no motion.
std::vector<int> unlikeVolumes(const Realignment& realignment);

/// Finds where the head is in the volumes against the reference. The result does not depend on the
/// number of threads.
/// Errors  those of nifti::Reader and of VolumeAligner; what `done` throws.
Realignment realign(const SeriesToRealign& series);

/// The same of volumes of other contrasts (AcrossContrasts), series.like, against volume
/// `reference`, each from what its motion may be. Nothing for those where no motion is credible.
/// One after the other, whatever the number of threads.
/// Errors  those of nifti::Reader and of AcrossContrasts; what `done` throws.
std::vector<std::optional<glm::dmat4>> realignAcross(const SeriesToRealign& series, int reference,
                                                     const std::vector<glm::dmat4>& starts);

}  // namespace mirel
