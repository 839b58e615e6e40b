#include <memory>

#include "cli/command.h"
#include "cli/directionoption.h"
#include "cli/interpolationoption.h"
#include "cli/motionoption.h"
#include "cli/numbers.h"
#include "cli/reportfacts.h"
#include "cli/runjob.h"
#include "jobs/correctpair.h"

namespace mirel {

namespace {

constexpr const char* correctDescription =
    "Correct NIfTI images: a pair with opposite phase encoding, and other series of the session.\n"
    "\n"
    "From A and B the field is estimated that distorts both; both, and every RUN, are corrected\n"
    "with it. Phase-encoding directions and readout times come from the BIDS sidecars (.json)\n"
    "beside the images; options override them. Written into DIR: the corrected images, their\n"
    "mean, the displacements in voxels and in mm, the field in Hz, displacement fields for other\n"
    "programs, each with a sidecar, and report.html, a page to look at. All of it appears at the\n"
    "end, or nothing. Prints the names of the files written.\n";

struct CorrectCommandOptions {
  CorrectPairOptions job;
  std::vector<std::string> runs;
  bids::GivenAcquisition ofRuns;
  MotionArguments motion;  ///< within the runs
  std::optional<InterpolationKernel> interpolation;
  int volumeB = -1;  // below 0: that of A
  int mean = 0;
  int meanB = 0;  // 0: as for A
  std::string volumes, volumesB;
  std::string estimator, anatomy, priorField, fieldSource;
  bool ssd = false, ncc = false, fast = false, noIc = false, ic = false, noMotion = false;
  bool uncertainty = false, headMask = false;
  bool modulate = false, noModulate = false, quiet = false, json = false, strict = false;
  bool restore = false;
  bool noReport = false, noViewer = false;
  bool noAlign = false;
};

bool hasSearchOptions(const CorrectCommandOptions& options) {
  return options.ssd || options.ncc || options.ic || options.noIc || options.fast;
}

bool saysOfPair(const CorrectPairOptions& job) {
  const auto says = [](const bids::GivenAcquisition& given) {
    return given.direction || given.readoutSeconds || !given.sidecar.empty();
  };
  return says(job.a.given) || says(job.b.given);
}

void settle(CorrectCommandOptions& options) {
  CorrectPairOptions& job = options.job;
  job.version = MIREL_VERSION;
  // Below 0 the table tells which volume it is.
  job.b.volume =
      options.volumeB < 0 && job.acquisitionTable.empty() ? job.a.volume : options.volumeB;
  job.a.meanOfFirst = options.mean;
  job.b.meanOfFirst = options.meanB > 0 ? options.meanB : options.mean;
  if (!options.volumes.empty()) job.a.choice = job.b.choice = *volumeChoiceOf(options.volumes);
  if (!options.volumesB.empty()) job.b.choice = *volumeChoiceOf(options.volumesB);
  if (!job.b.given.readoutSeconds) job.b.given.readoutSeconds = job.a.given.readoutSeconds;
  job.estimate.search = {
      .fast = options.fast, .useSsd = options.ssd, .intensityCorrection = !options.noIc};
  if (options.estimator == nameOf(Estimator::search) || hasSearchOptions(options))
    job.estimate.estimator = Estimator::search;
  job.estimate.motion = !options.noMotion;
  job.estimate.uncertainty = options.uncertainty;
  job.estimate.threads = job.seriesSettings.threads;
  job.seriesSettings.align = !options.noAlign;
  if (!options.fieldSource.empty()) {
    job.estimate.estimator = Estimator::none;
    job.startingField = options.fieldSource;
  }
  job.startIsPrior = !options.priorField.empty();
  if (job.startIsPrior) job.startingField = options.priorField;
  job.results.headMask = options.headMask;
  if (options.modulate) job.estimate.modulation = Modulation::on;
  if (options.noModulate) job.estimate.modulation = Modulation::off;
  if (options.interpolation) job.estimate.interpolation = *options.interpolation;
  job.joinSeries = options.restore;
  job.seriesSettings.realign = options.motion.realign;
  job.seriesSettings.realignWeighted = options.motion.realignWeighted;
  const GivenMotion motion = motionOf(options.motion);
  for (const std::string& file : options.runs) job.series.push_back({file, options.ofRuns, motion});
}

int runCorrect(CorrectCommandOptions options, const Program& program) {
  settle(options);
  const std::unique_ptr<RunReport> report =
      options.noReport ? nullptr : reportOf(program, /*viewer=*/!options.noViewer, options.anatomy);
  options.job.report = report.get();
  return runJob({.quiet = options.quiet, .json = options.json, .strict = options.strict},
                [&](Progress& progress) { return correctPair(options.job, progress); });
}

/// Of the parsed line.
void checkPair(const CorrectCommandOptions& options) {
  const CorrectPairOptions& job = options.job;
  if (options.volumes.empty() && !options.volumesB.empty())
    refuseWithout("--volumes-b", "--volumes");
  if (job.acquisitionTable.empty()) {
    if (job.b.file.empty()) refuseMissing("B");
  } else if (!options.volumes.empty()) {
    refuseTogether("--datain", "--volumes, since its rows tell the volumes apart");
  } else if (!job.more.empty()) {
    refuseTogether("--datain", "--more, whose sidecars tell the directions");
  } else if (saysOfPair(job)) {
    refuseTogether("--datain",
                   "--pe-a, --pe-b, --readout, --readout-b, --sidecar-a and --sidecar-b");
  }
}

/// Joining models signal that piles up, and so do the volumes that are left over.
void checkRestore(const CorrectCommandOptions& options, bool search) {
  if (!options.restore) return;
  if (options.noModulate) refuseTogether("--restore", "--no-modulate");
  if (options.interpolation)
    refuseTogether("--restore",
                   "--interpolation, since it joins by least squares and interpolates nothing");
  if (!options.modulate && (search || options.estimator == nameOf(Estimator::search)))
    refuseTogether("--restore", "the search without --modulate");
  if (options.runs.size() < 2)
    refuseWithout("--restore", "two diffusion series, --apply RUN --apply RUN");
}

/// Joining takes the head to keep still within each series.
void checkMotion(const CorrectCommandOptions& options) {
  const bool told = !options.motion.file.empty();
  if (!told && !options.motion.realign) return;
  const char* name = told ? "--motion" : "--realign";
  if (options.restore) refuseTogether(name, "--restore, which takes the head to keep still");
  if (options.runs.empty()) refuseWithout(name, "a series, --apply RUN");
  if (told && options.runs.size() > 1)
    refuseTogether("--motion", "more than one --apply RUN, since it is of one");
}

// A field that was measured leaves nothing to estimate.
void checkFieldSource(const CorrectCommandOptions& options) {
  if (options.fieldSource.empty()) return;
  const CorrectPairOptions& job = options.job;
  const auto refuse = [](bool given, const char* option) {
    if (given)
      refuseTogether("--field-source",
                     std::string(option) + ", which is of an estimate from A and B");
  };
  refuse(!options.priorField.empty(), "--prior-field");
  refuse(!job.startingField.empty(), "--initial-field");
  refuse(!options.estimator.empty(), "--estimator");
  refuse(hasSearchOptions(options), "--ssd, --ncc, --ic, --no-ic and --fast");
  refuse(job.estimate.intensityScale != 0, "--intensity-scale");
  refuse(options.noMotion, "--no-motion");
  refuse(options.uncertainty, "--uncertainty");
  refuse(!job.more.empty(), "--more");
}

void checkEstimate(const CorrectCommandOptions& options) {
  checkFieldSource(options);
  if (!options.priorField.empty() && !options.job.startingField.empty())
    refuseTogether("--prior-field", "--initial-field");
  const bool search = hasSearchOptions(options);
  if (options.estimator == nameOf(Estimator::massPreserving) && search)
    refuseTogether("--estimator mass-preserving",
                   "--ssd, --ncc, --ic, --no-ic and --fast, which are of the search");
  if (!search && options.estimator != nameOf(Estimator::search)) return;
  if (options.noMotion) refuseTogether("--no-motion", "the search, which knows no motion");
  if (options.uncertainty) refuseTogether("--uncertainty", "the search, which does not know it");
  if (!options.job.maskFile.empty())
    refuseTogether("--mask", "the search, which takes all voxels alike");
  if (!options.priorField.empty())
    refuseTogether("--prior-field", "the search, which has no prior");
  if (!options.job.startingField.empty())
    refuseTogether("--initial-field", "the search, which has a start of its own");
}

void addPairOptions(Command* command, CorrectCommandOptions& options) {
  CorrectPairOptions& job = options.job;
  command->add_option("A", job.a.file, "First image of the pair (.nii, .nii.gz)")
      ->type_name("")
      ->required();
  command
      ->add_option("B", job.b.file,
                   "Second image: the same grid, the opposite phase-encoding direction; may be\n"
                   "another volume of the same file. With --datain A may hold both directions\n"
                   "instead, a row for each of its volumes")
      ->type_name("");
  command
      ->add_option("--more", job.more,
                   "Further images of the session for the field, with sidecars: those of the\n"
                   "direction of A or B are joined with it, a pair along another axis adds what\n"
                   "it knows. They are not corrected (see --apply)")
      ->type_name("IMAGE");
  command->add_option("--apply", options.runs, "Series of the same session to correct, too")
      ->type_name("RUN");
  command
      ->add_option(
          "-o,--output", job.outputFolder,
          "Folder for the results; made if need be. Results of the same images are replaced,\n"
          "those of others refused")
      ->type_name("DIR")
      ->required();
  command->add_flag("--overwrite", job.overwrite,
                    "Replace files of the same names whatever they were made of");
}

void addVolumeOptions(Command* command, CorrectCommandOptions& options) {
  CorrectPairOptions& job = options.job;
  const auto refuseNegative = [](const std::string& text) { return refuseBelow(0, text); };
  const auto refuseNone = [](const std::string& text) { return refuseBelow(1, text); };
  const auto refuseChoice = [](const std::string& text) {
    return volumeChoiceOf(text) ? "" : text + " is neither b0 nor all nor a list such as 0,3,7-9";
  };
  Option* volume =
      command
          ->add_option("--volume", job.a.volume,
                       "Volume of A and B to use, counted from 0 (default: 0, the first)")
          ->type_name("N")
          ->check(refuseNegative);
  Option* volumeB =
      command->add_option("--volume-b", options.volumeB, "Volume of B (default: that of A)")
          ->type_name("N")
          ->check(refuseNegative);
  Option* mean = command
                     ->add_option("--mean", options.mean,
                                  "Use the mean of N volumes, from --volume on, instead of one")
                     ->type_name("N")
                     ->check(refuseNone);
  Option* meanB =
      command->add_option("--mean-b", options.meanB, "The same of B (default: as for A)")
          ->type_name("N")
          ->check(refuseNone);
  command
      ->add_option("--volumes", options.volumes,
                   "Use several volumes of A and of B, joined to one image of each: b0 (those of\n"
                   "b = 0, by the .bval file beside the image), all, or a list such as 0,3,7-9.\n"
                   "Motion of the head between them is undone; volumes and slices that differ\n"
                   "from the others, or are from before the steady state, are left out and named")
      ->type_name("WHICH")
      ->check(refuseChoice)
      ->excludes(volume)
      ->excludes(volumeB)
      ->excludes(mean)
      ->excludes(meanB);
  command->add_option("--volumes-b", options.volumesB, "The same of B (default: as for A)")
      ->type_name("WHICH")
      ->check(refuseChoice);
}

void addAcquisitionOptions(Command* command, CorrectCommandOptions& options) {
  bids::GivenAcquisition& a = options.job.a.given;
  bids::GivenAcquisition& b = options.job.b.given;
  command
      ->add_option("--datain", options.job.acquisitionTable,
                   "Directions and readout times of A and B as topup reads them: rows of x y z\n"
                   "and the readout time in s, one per image or one per volume")
      ->type_name("FILE");
  addDirectionOption(
      command, "--pe-a", a.direction,
      "Phase-encoding direction of A: i, i-, j, j-, k or k- (default: its sidecar's)");
  addDirectionOption(command, "--pe-b", b.direction, "The same of B (default: its sidecar's)");
  addDirectionOption(command, "--apply-pe", options.ofRuns.direction,
                     "The same of every RUN (default: its sidecar's)");
  addReadoutOption(command, "--readout", a.readoutSeconds,
                   "Total readout time of A and B in s (default: the sidecars')");
  addReadoutOption(command, "--readout-b", b.readoutSeconds, "The same of B, where it differs");
  addReadoutOption(command, "--apply-readout", options.ofRuns.readoutSeconds,
                   "The same of every RUN (default: its sidecar's)");
  command
      ->add_option("--sidecar-a", a.sidecar,
                   "The only sidecar of A (default: those that apply, like A's name with .json)")
      ->type_name("FILE");
  command
      ->add_option("--sidecar-b", b.sidecar,
                   "The only sidecar of B (default: those that apply, like B's name with .json)")
      ->type_name("FILE");
}

void addEstimateOptions(Command* command, CorrectCommandOptions& options) {
  EstimateSettings& estimate = options.job.estimate;
  command
      ->add_option(
          "--estimator", options.estimator,
          "mass-preserving (default): models the signal that piles up or thins out, and the\n"
          "head's motion; 0.24 voxels rms from a measured field. search: the method of\n"
          "'mirel estimate', which its options below imply; 0.52 voxels")
      ->type_name("NAME")
      ->one_of({"search", "mass-preserving"});
  command->add_flag("--no-motion", options.noMotion,
                    "Take the head not to have moved between A and B");
  command->add_flag("--uncertainty", options.uncertainty,
                    "Also write the standard deviation of the field in Hz, given the images:\n"
                    "desc-uncertainty_fieldmap (takes two to three times as long)");
  command
      ->add_option("--mask", options.job.maskFile,
                   "Image of 0 to 1 on the grid of A, drawn on corrected images: how much each\n"
                   "voxel counts in the estimate and in all figures. Where it is 0 the field\n"
                   "continues what is around")
      ->type_name("FILE");
  command
      ->add_option("--initial-field", options.job.startingField,
                   "Field in Hz, on any grid, that the estimate starts from in place of its own\n"
                   "start")
      ->type_name("FILE");
  command
      ->add_option("--prior-field", options.priorField,
                   "The same, and what is most likely beforehand: a measured field, from which\n"
                   "the estimate departs as far and as roughly as the images ask")
      ->type_name("FILE");
  command
      ->add_option("--field-source", options.fieldSource,
                   "Correct A, B and every RUN with this field in Hz, on any grid, which was\n"
                   "measured ('mirel field') or is otherwise known: nothing is estimated, and the\n"
                   "verdict says how well A and B agree with it")
      ->type_name("FILE");
  command->add_flag("--head-mask", options.headMask,
                    "Also write where the head is in the corrected mean: desc-head_mask");
  Option* ssd = command->add_flag("--ssd", options.ssd, "Search by the sum of squared differences");
  command
      ->add_flag("--ncc", options.ncc,
                 "Search by normalised cross-correlation (the search's default; with --ic 0.52\n"
                 "voxels rms from a measured field, SSD 0.87, --fast 0.63)")
      ->excludes(ssd);
  Option* ic =
      command->add_flag("--ic", options.ic, "Correct intensities during the search (its default)");
  command->add_flag("--no-ic", options.noIc, "Do not correct intensities during the search")
      ->excludes(ic);
  command->add_flag("--fast", options.fast,
                    "Column-wise estimate only: faster and coarser; --ssd, --ncc and --ic have no\n"
                    "effect on it");
  command
      ->add_option("--intensity-scale", estimate.intensityScale,
                   "Factor on the intensities for the search, which takes more than 100 for head\n"
                   "(default: found from the images)")
      ->type_name("F")
      ->check(refuseNotPositive);
  Option* modulate =
      command->add_flag("--modulate", options.modulate,
                        "Multiply corrected intensities, of the pair and of every RUN, by the\n"
                        "Jacobian, the local density change: signal that piled up is scaled back\n"
                        "(default with the mass-preserving estimate, not with the search)");
  command
      ->add_flag("--no-modulate", options.noModulate,
                 "Move intensities only: signal that piled up stays bright")
      ->excludes(modulate);
  addInterpolationOption(command, options.interpolation);
}

}  // namespace

void addCorrectCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("correct", correctDescription);
  const auto options = std::make_shared<CorrectCommandOptions>();
  addPairOptions(command, *options);
  addVolumeOptions(command, *options);
  addAcquisitionOptions(command, *options);
  addEstimateOptions(command, *options);
  command
      ->add_option("--threads", options->job.seriesSettings.threads,
                   "Threads that estimate the map, and correct the volumes of a RUN (default: one\n"
                   "per core); results do not depend on their number")
      ->type_name("N")
      ->check([](const std::string& text) { return refuseBelow(1, text); });
  command->add_flag("--no-align", options->noAlign,
                    "Take the head to be in every RUN where it was in the pair, by the headers\n"
                    "(default: look for its motion between the pair and RUN, and carry the field\n"
                    "along where it moved by 1/16 of a voxel or more, and not by chance; of\n"
                    "series that --restore joins the motion is only warned of)");
  command->add_flag("--float", options->job.seriesSettings.floatOutput,
                    "Write every RUN as 32-bit floats (default: its own data type and scaling,\n"
                    "rounded)");
  command->add_flag("--restore", options->restore,
                    "Join two diffusion series among the RUNs, of opposite directions and with\n"
                    ".bval and .bvec beside them, into one, desc-restored: volumes of the same\n"
                    "gradient give one image by least squares, which holds what either lost.\n"
                    "Volumes without a partner are corrected alone, desc-preprocUnmatched");
  Option* warp = command->add_flag(
      "--warp", options->job.seriesSettings.writeWarp,
      "Also write the displacement field of every RUN for other programs,\n"
      "RUN_from-orig_to-undistorted_mode-image_xfm.nii.gz (the pair's are always\n"
      "written)");
  addMotionOptions(command, options->motion, warp);
  Option* anatomy =
      command
          ->add_option("--anat", options->anatomy,
                       "A T1w or T2w image of the same head: the report draws its outline on\n"
                       "before and after, where the coordinates of the files put it")
          ->type_name("FILE");
  command
      ->add_flag("--no-report", options->noReport,
                 "Do not write report.html, the page with pictures, figures and warnings")
      ->excludes(anatomy);
  command->add_flag("--no-viewer", options->noViewer,
                    "Leave the viewer of all slices out of report.html, which makes it smaller");
  command->add_flag(
      "--strict", options->strict,
      "Exit with 1 where the verdict is not to trust the result. It is written all the\n"
      "same");
  command->add_flag("--quiet", options->quiet, "Say nothing but warnings and errors");
  command->add_flag("--json", options->json,
                    "Print a summary as JSON instead of the names of the files written");
  command->callback([options, &program] {
    checkPair(*options);
    checkEstimate(*options);
    checkRestore(*options, hasSearchOptions(*options));
    checkMotion(*options);
    program.action = [options, &program] { return runCorrect(*options, program); };
  });
}

}  // namespace mirel
