#include "cli/applyfield.h"

#include "base/error.h"
#include "cli/directionoption.h"
#include "cli/interpolationoption.h"
#include "cli/numbers.h"
#include "cli/reportfacts.h"
#include "cli/runjob.h"
#include "nifti/filename.h"

namespace mirel {

namespace {

ApplyFieldOptions jobOf(const ApplyFieldArguments& arguments,
                        const std::vector<std::string>& images) {
  ApplyFieldOptions job = arguments.job;
  job.version = MIREL_VERSION;
  job.seriesSettings.realign = arguments.motion.realign;
  job.seriesSettings.realignWeighted = arguments.motion.realignWeighted;
  if (arguments.modulate) job.seriesSettings.modulation = Modulation::on;
  if (arguments.interpolation) job.seriesSettings.interpolation = *arguments.interpolation;
  if (!arguments.given.sidecar.empty() && images.size() > 1)
    throw Error("--sidecar is for one image, but " + std::to_string(images.size()) + " are given");
  const GivenMotion motion = motionOf(arguments.motion);
  if (!motion.file.empty() && images.size() > 1)
    throw Error("--motion is for one image, but " + std::to_string(images.size()) + " are given");
  for (const std::string& file : images) {
    if (!nifti::hasNiftiName(file))
      throw Error(file, std::string("is no NIfTI image (.nii, .nii.gz): ") +
                            (!arguments.job.mapFile.empty()
                                 ? "--vdm corrects images or projects, not both at a time"
                                 : "--field corrects images, --vdm corrects projects, too"));
    job.series.push_back({file, arguments.given, motion});
  }
  return job;
}

}  // namespace

ImageCommandOptions addApplyFieldOptions(Command* command, ApplyFieldArguments& arguments) {
  Option* field =
      command
          ->add_option("--field", arguments.job.fieldFile,
                       "For images: the field, f in true(y) = I(y + f T) for phase encoding along\n"
                       "i, j or k and the readout time T, I(y - f T) along i-, j- or k-. In Hz,\n"
                       "rad/s or T, as its sidecar says (Units); without one in Hz")
          ->type_name("FIELD");
  ImageCommandOptions options{field, nullptr, nullptr, {}};
  const auto forImages = [&options](Option* option) {
    options.forImages.push_back(option);
    return option;
  };
  options.output =
      forImages(command->add_option(
                    "-o,--output", arguments.job.output,
                    "For images: folder for the results, made if need be; for one RUN also the\n"
                    "name of an image (.nii, .nii.gz). Results of the same images are replaced, "
                    "those of\n"
                    "others refused"))
          ->type_name("DIR");
  forImages(command->add_flag("--overwrite", arguments.job.overwrite,
                              "Replace files of the same names whatever they were made of"));
  forImages(addDirectionOption(
      command, "--pe", arguments.given.direction,
      "For images: phase-encoding direction of every RUN: i, i-, j, j-, k or k-\n"
      "(default: its sidecar's)"));
  forImages(addReadoutOption(
      command, "--readout", arguments.given.readoutSeconds,
      "For images: total readout time of every RUN in s (default: its sidecar's)"));
  forImages(command->add_option(
                "--sidecar", arguments.given.sidecar,
                "For images: the only sidecar of RUN (default: those that apply to it by the\n"
                "BIDS inheritance principle, like RUN's name with .json)"))
      ->type_name("FILE");
  options.mapDirection = forImages(addDirectionOption(
      command, "--vdm-pe", arguments.job.map.direction,
      "With --vdm, for images: the direction that the map is for (default: what its\n"
      "sidecar says); for images of the opposite one it is turned round"));
  forImages(addUnitOption(command, arguments.job.unit,
                          "For images: what the values of the field or the NIfTI map are\n"
                          "(default: the Units of its sidecar, else Hz and voxels)"));
  forImages(command->add_flag("--modulate", arguments.modulate,
                              "Multiply intensities by the Jacobian, the local density change\n"
                              "(default: off)"));
  forImages(addInterpolationOption(command, arguments.interpolation));
  forImages(command->add_flag("--float", arguments.job.seriesSettings.floatOutput,
                              "Write 32-bit floats (default: the data type of RUN, rounded)"));
  Option* warp =
      forImages(command->add_flag("--warp", arguments.job.seriesSettings.writeWarp,
                                  "Also write the displacement field for other programs,\n"
                                  "RUN_from-orig_to-undistorted_mode-image_xfm.nii.gz"));
  for (Option* option : addMotionOptions(command, arguments.motion, warp)) forImages(option);
  Option* reference =
      forImages(
          command->add_option("--reference", arguments.job.reference,
                              "An undistorted image of the head on any grid: tell whether the\n"
                              "opposite sign agrees better with it, by normalised mutual\n"
                              "information (no unit; 1: none, 2: one image tells the other)"))
          ->type_name("IMAGE");
  forImages(command->add_flag(
                "--align", arguments.job.seriesSettings.align,
                "With --field and --reference: look for motion of the head between the\n"
                "reference, in which it is where the field was measured, and RUN, and carry\n"
                "the field along where it moved by 1/16 of a voxel or more, and not by chance"))
      ->needs(field)
      ->needs(reference);
  forImages(command->add_option("--threads", arguments.job.seriesSettings.threads,
                                "Threads that correct volumes (default: one per core)"))
      ->type_name("N")
      ->check([](const std::string& text) { return refuseBelow(1, text); });
  Option* anatomy = forImages(command->add_option(
      "--anat", arguments.anatomy,
      "For images: a T1w or T2w image of the same head, whose outline the report\n"
      "draws on before and after, where the coordinates of the files put it"));
  anatomy->type_name("FILE");
  forImages(command->add_flag("--no-report", arguments.noReport,
                              "For images: do not write report.html, the page with pictures,\n"
                              "figures and warnings"))
      ->excludes(anatomy);
  forImages(
      command->add_flag("--no-viewer", arguments.noViewer,
                        "For images: leave the viewer of all slices out of the report, which\n"
                        "makes it smaller"));
  forImages(command->add_flag("--quiet", arguments.quiet, "Say nothing but warnings and errors"));
  return options;
}

int runApplyField(const ApplyFieldArguments& arguments, const std::vector<std::string>& images,
                  const Program& program) {
  ApplyFieldOptions job = jobOf(arguments, images);
  const std::unique_ptr<RunReport> report =
      arguments.noReport ? nullptr
                         : reportOf(program, /*viewer=*/!arguments.noViewer, arguments.anatomy);
  job.report = report.get();
  return runJob({.quiet = arguments.quiet},
                [&](Progress& progress) { return applyField(job, progress); });
}

}  // namespace mirel
