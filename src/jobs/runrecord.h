#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/advice.h"
#include "bids/acquisition.h"
#include "field/corrector.h"
#include "field/signcheck.h"
#include "jobs/seriesalignment.h"
#include "jobs/statedunit.h"
#include "motion/motioncheck.h"
#include "pair/acrosspair.h"
#include "pair/pairestimate.h"
#include "pair/pairinput.h"
#include "restore/pairrestorer.h"

namespace mirel {

/// How series are corrected.
struct SeriesSettings {
  Modulation modulation = Modulation::off;
  InterpolationKernel interpolation = InterpolationKernel::cubic;
  bool floatOutput = false;  ///< 32-bit floats instead of their own data types
  bool writeWarp = false;    ///< also their displacement fields (writeWarpLps)
  /// Look for motion of the head between an undistorted reference and each series, and carry the
  /// field along. The reference shows the head where the field was measured or estimated.
  bool align = false;
  /// Look for motion of the head within each series and undo it: of volumes of one contrast, those
  /// without diffusion gradients where there are some with.
  bool realign = false;
  bool realignWeighted = false;  ///< those with gradients, too, across contrasts
  int threads = 0;               ///< 0: as many as there are cores
};

/// What was found when two series were joined.
struct JoiningRecord {
  RestoreWeights weights;
  std::vector<double> residuals;  ///< of each joined volume, by the noise (PairRestorer::restore)
  /// Of each joined volume: voxels where the mean of both stands (Contradiction)
  std::vector<std::int64_t> contradicted;
};

/// What looking for the head's motion within a series came to.
struct RealignmentRecord {
  struct Refused {
    int volume = 0;
    std::string reason;  ///< "it does not resemble ..."
  };
  int reference = 0;             ///< volume that the others were held to
  std::vector<int> compared;     ///< volumes, with the reference
  std::vector<int> moved;        ///< of them
  std::vector<Refused> refused;  ///< of them: no motion was taken
  std::vector<int> uncertain;    ///< of them: displaced, but by no more than could be chance
  std::vector<int> unlike;       ///< of the rest: much less like the reference than most
  bool weightedToo = false;      ///< those with diffusion gradients were asked for
  std::vector<int> across;       ///< volumes of another contrast that were aligned all the same
  std::vector<int> between;      ///< volumes with the motion between those that were compared
  std::string notPossible;       ///< why nothing was looked for; empty: it was
};

/// The head's motion within a series, which was told by another program or found.
struct MotionRecord {
  SeriesMotion told;
  double largestMm = 0;  ///< of all volumes, against the reference (displacementMm)
  int largestVolume = 0;
  MotionCheck check;
};

/// What was found and done about one series.
struct SeriesRecord {
  std::string file, output;
  std::string checksum;  ///< of the file (SHA-256)
  bids::Acquisition acquisition;
  std::vector<FileStamp> gradientFiles;  ///< that stood beside it; written beside the output
  int volumes = 0;
  std::vector<int> chosenVolumes;  ///< where not all were corrected, counted from 0
  double background = 0;           ///< that was not modulated (SeriesOptions::background)
  bool resampledField = false;     ///< its grid is not that of the field
  /// The map that was applied, times what: -1 where it was turned round for the opposite
  /// direction, scaled where the readout times differ. Nothing with a field.
  std::optional<double> mapFactor;
  std::optional<SignCheck> signs;                ///< where there was an undistorted reference
  std::optional<AlignmentRecord> alignment;      ///< where it was looked for
  std::optional<RealignmentRecord> realignment;  ///< where motion within it was looked for
  std::optional<MotionRecord> motion;            ///< where it was told, or the head moved
  std::vector<Remark> warnings;
  /// Of a series that was joined with another one: that one, without output.
  std::vector<SeriesRecord> partner;
  JoiningRecord joining;
};

/// The file that a run took the distortion from.
struct SourceRecord {
  enum class Kind { field, map };
  Kind kind = Kind::field;
  FileStamp stamp;  ///< of the file and its sidecars before they were read
  std::string file;
  StatedUnit unit;
  std::vector<FileStamp> sidecars;
};

/// A pair along another axis, and how it was taken into account.
struct AcrossRecord {
  ImageDescription a, b;
  AcrossFindings findings;
};

/// The pair that a run began with.
struct PairRecord {
  ImageDescription a, b;
  EstimateSettings settings;
  PairFindings findings;
  std::optional<FileStamp> mask = {};      ///< of the file that says where the pair counts
  std::optional<SourceRecord> start = {};  ///< of the field that the estimate began with
  bool startIsPrior = false;
  std::optional<AcrossRecord> across = {};
};

/// One run, whatever it began with: what sidecars, the summary in JSON and the text on the terminal
/// are made from.
struct RunRecord {
  std::string version;                 ///< of the program
  std::optional<PairRecord> pair;      ///< of correctPair
  std::optional<SourceRecord> source;  ///< of applyField
  SeriesSettings seriesSettings;
  std::vector<SeriesRecord> series;
  std::vector<Remark> notes, warnings;  ///< of all of it, in order
  std::vector<std::string> outputs;     ///< paths of the files written
};

}  // namespace mirel
