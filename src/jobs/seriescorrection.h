#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/outputfolder.h"
#include "base/progress.h"
#include "field/distortion.h"
#include "field/series.h"
#include "field/signcheck.h"
#include "jobs/earlierresults.h"
#include "jobs/recordjson.h"
#include "jobs/runrecord.h"
#include "jobs/runreport.h"
#include "jobs/seriesinput.h"

namespace mirel {

/// What one series becomes: names in the output folder.
struct SeriesNames {
  std::string image;    ///< RUN_desc-preproc_SUFFIX.nii.gz
  std::string sidecar;  ///< the same with .json
  std::string warp;     ///< RUN_from-..._xfm, without extension; empty: none
  std::string motion;   ///< RUN_from-..._desc-hmc_xfm, without extension; empty: none
  std::vector<std::string> gradients;  ///< parallel to SeriesInput::gradientFiles

  /// For results in a folder. Of chosen volumes (SeriesInput::volumes), those that joining left
  /// over, the image is RUN_desc-preprocUnmatched_SUFFIX, and there is no warp.
  static SeriesNames inFolder(const SeriesInput& input, const SeriesSettings& settings);
  /// For one result of a name of its own, IMAGE.nii or IMAGE.nii.gz without its folder.
  static SeriesNames asImage(const SeriesInput& input, const std::string& image,
                             const SeriesSettings& settings);
};

/// An undistorted image that the corrected series are held against.
struct Reference {
  PlacedImage image;  ///< its name stands in messages
  /// What is wrong when a series' sign is not: "the pair's directions are".
  std::string otherwiseWrong;
};

/// The displacement map of a series if its voxels lay on `grid` (its own, or that of its head
/// before it moved).
Volume<float> shiftOn(const Grid& grid, const SeriesInput& input, const Distortion& distortion);

/// The mean of as many volumes as tell where the head is, in the place of the first where their
/// motion is given. Of a diffusion series those without gradients, which the others hardly
/// resemble. Errors  those of nifti::Reader.
Volume<float> meanToAlign(const SeriesInput& input);

/// Where the head is in a series beside the reference (alignSeries), by its mean (meanToAlign). A
/// motion that the field's opposite sign would explain better is refused.
AlignmentRecord alignToReference(const SeriesInput& input, const Volume<float>& mean,
                                 const SeriesOptions& how, const Distortion& distortion,
                                 const Reference& reference, const RigidAligner& aligner);

/// The intensity that was added to all voxels of a series, by its first volume (addedBackground).
double backgroundOf(const SeriesInput& input);

/// Corrects the mean of a series as it came, `meanBefore`, with its map and with the negative,
/// compares both with the reference, and takes down in `record` and `notes` what that says of the
/// sign. `place` is the series' grid where the reference has its head. The record's background is
/// set.
void checkSigns(const SeriesInput& input, const Volume<float>& meanBefore,
                const Volume<float>& shift, const Grid& place, Modulation modulation,
                const Reference& reference, SeriesRecord& record, std::vector<Remark>& notes);

/// The part of a run that corrects series, whatever the field is from.
class SeriesCorrection {
 public:
  SeriesCorrection(const SeriesSettings& how, OutputFolder& where) : settings(how), folder(where) {}

  /// Adds a series with the names of its results. Nothing is announced yet.
  void add(SeriesInput input, SeriesNames names);
  /// The files that the series are read from.
  std::vector<std::string> inputFiles() const;
  /// Announces all results to the output folder; `inputs` are all inputs of the run, and each
  /// result is made of its series and `common`.
  void announce(const std::vector<std::string>& inputs, const std::vector<ResultInput>& common,
                const EarlierResults& earlier);

  /// Corrects every series, writes
  ///
  ///   the image in its own data type (or floats) with a sidecar that holds the fields of the
  ///   original's that stay true, and where it comes from
  ///   the gradient files (.bvec, .bval) beside it
  ///   its displacement field where asked for, with a sidecar: see writeWarpLps
  ///   the motion within it where the settings ask to look for it, as ITK text, with a sidecar
  ///
  /// and takes down in `run` what was done. With a reference the mean of each series is compared
  /// with it under both signs. Where the settings ask to align, and the distortion is a field, the
  /// head's motion since the reference is looked for first (alignSeries): the field is sampled
  /// where the head was then, while the corrected series stays where the head is in it.
  ///
  /// @param names   of what results are made of, for their records
  /// @param report  is shown every series; may be null
  /// Errors  those of correctSeries; what `progress` throws.
  void run(const Distortion& distortion, const std::optional<Reference>& reference,
           const SourceNames& names, RunReport* report, RunRecord& run, Progress& progress);

 private:
  struct Planned {
    SeriesInput input;
    SeriesNames names;
  };
  struct Context;
  /// Where the head is in a series.
  struct Head {
    Grid place;  ///< of the series' grid where the field is known
    std::optional<AlignmentRecord> alignment;
    std::optional<RealignmentRecord> realignment;
    Volume<float> mean;  ///< where it is not that of all volumes
  };

  void correctOne(Planned one, const Context& context);
  std::optional<RealignmentRecord> realign(Planned& one, const Grid& place,
                                           const Context& context) const;
  Head findHead(Planned& one, const Context& context) const;
  SeriesOptions optionsFor(const SeriesInput& input) const;
  SeriesReport resample(const Planned& one, const Volume<float>& shift, SeriesOptions how,
                        const Context& context);
  void writeRest(const Planned& one, const Json& origin, const Context& context);
  void writeWarp(const Planned& one, const Volume<float>& shift, const Json& origin,
                 const Context& context);
  void writeMotion(const Planned& one, const Json& origin, const Context& context);
  std::vector<ResultInput> inputsOf(const Planned& one) const;

  SeriesSettings settings;
  OutputFolder& folder;
  std::vector<Planned> planned;
  std::vector<ResultInput> others;  ///< what every result is made of, too
};

}  // namespace mirel
