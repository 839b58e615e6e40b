#include "cli/applyfield.h"

#include <cstdio>
#include <iostream>

#include "base/error.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "cli/numbers.h"
#include "cli/progressbar.h"
#include "host/session.h"
#include "nifti/filename.h"
#include "nifti/image.h"

namespace mirel {

namespace {

ApplyFieldOptions jobOf(const ApplyFieldArguments& arguments,
                        const std::vector<std::string>& images) {
  ApplyFieldOptions job = arguments.job;
  job.version = MIREL_VERSION;
  if (arguments.modulate) job.modulation = Modulation::on;
  if (!arguments.sidecar.empty() && images.size() > 1)
    throw Error("--sidecar is for one image, but " + std::to_string(images.size()) + " are given");
  for (const std::string& file : images) {
    if (!nifti::hasNiftiName(file))
      throw Error(file + " is no NIfTI image (.nii, .nii.gz): " +
                  (arguments.job.map ? "--vdm corrects images or projects, not both at a time"
                                     : "--field corrects images, --vdm corrects projects, too"));
    ImageOptions image;
    image.file = file;
    image.direction = arguments.direction;
    image.sidecar = arguments.sidecar;
    image.readoutSeconds = arguments.readoutSeconds;
    job.series.push_back(image);
  }
  return job;
}

const char* sentenceOf(SignCheck::Verdict verdict) {
  switch (verdict) {
    case SignCheck::Verdict::right:
      return "the sign is right";
    case SignCheck::Verdict::opposite:
      return "the opposite sign agrees better";
    case SignCheck::Verdict::undecided:
      break;
  }
  return "no sign is clearly better";
}

void tell(const ApplyFieldReport& report, bool withSigns) {
  for (const SeriesResult& run : report.series) {
    std::fprintf(stderr, "%s: %d %s, ", run.file.c_str(), run.volumes,
                 run.volumes == 1 ? "volume" : "volumes");
    if (run.readout)
      std::fprintf(stderr, "phase encoding %s (%s), readout %.6g s (%s)%s\n",
                   nameOf(run.direction).c_str(), run.directionSource.c_str(), run.readout->seconds,
                   sourceText(*run.readout).c_str(),
                   run.resampledField ? ", field resampled to its grid" : "");
    else
      std::fprintf(stderr, "displaced along %s by %s\n", nameOf(run.direction).c_str(),
                   run.directionSource.c_str());
    if (withSigns)
      std::fprintf(
          stderr, "%s: agreement with the reference %.4f, with the opposite sign %.4f: %s\n",
          run.file.c_str(), run.signs.asGiven, run.signs.opposite, sentenceOf(run.signs.verdict));
  }
  for (const std::string& note : report.notes) std::cerr << "Note: " << note << "\n";
}

}  // namespace

ImageCommandOptions addApplyFieldOptions(CLI::App* command, ApplyFieldArguments& arguments) {
  CLI::Option* field =
      command
          ->add_option("--field", arguments.job.fieldFile,
                       "For images: the field in Hz, f in true(y) = I(y + f T) for phase encoding\n"
                       "along i, j or k and the readout time T, I(y - f T) along i-, j- or k-")
          ->type_name("FIELD");
  ImageCommandOptions options{field, nullptr, {}};
  const auto forImages = [&options](CLI::Option* option) {
    options.forImages.push_back(option);
    return option;
  };
  options.output =
      forImages(command->add_option(
                    "-o,--output", arguments.job.output,
                    "For images: folder for the results, made if need be; for one RUN also the\n"
                    "name of an image (.nii, .nii.gz). Older files are replaced"))
          ->type_name("DIR");
  command
      ->add_option("--pe", arguments.direction,
                   "With --field: phase-encoding direction of every RUN: i, i-, j, j-, k or k-\n"
                   "(default: its sidecar's)")
      ->needs(field)
      ->type_name("DIR")
      ->check(CLI::IsMember({"i", "i-", "j", "j-", "k", "k-"}));
  command
      ->add_option("--readout", arguments.readoutSeconds,
                   "With --field: total readout time of every RUN in s (default: its sidecar's)")
      ->needs(field)
      ->type_name("S")
      ->check(refuseNotPositive);
  command
      ->add_option("--sidecar", arguments.sidecar,
                   "With --field: the only sidecar of RUN (default: those that apply to it by the\n"
                   "BIDS inheritance principle, like RUN's name with .json)")
      ->needs(field)
      ->type_name("FILE");
  forImages(command->add_flag("--modulate", arguments.modulate,
                              "Multiply intensities by the Jacobian, the local density change\n"
                              "(default: off)"));
  forImages(command->add_flag("--float", arguments.job.floatOutput,
                              "Write 32-bit floats (default: the data type of RUN, rounded)"));
  forImages(command->add_flag("--warp", arguments.job.writeWarp,
                              "Also write the displacement field for other programs,\n"
                              "RUN_desc-warp_xfm.nii.gz"));
  forImages(command->add_option("--reference", arguments.job.reference,
                                "An undistorted image of the head on any grid: tell whether the\n"
                                "opposite sign agrees better with it"))
      ->type_name("IMAGE");
  forImages(command->add_option("--threads", arguments.job.threads,
                                "Threads that correct volumes (default: one per core)"))
      ->type_name("N")
      ->check([](const std::string& text) { return refuseBelow(1, text); });
  forImages(command->add_flag("--quiet", arguments.quiet, "Say nothing but warnings and errors"));
  return options;
}

int runApplyField(ApplyFieldArguments arguments, const std::vector<std::string>& images) {
  const ApplyFieldOptions job = jobOf(arguments, images);
  ProgressBar bar(arguments.quiet ? ProgressBar::Output::none : ProgressBar::suitable());
  InterruptGuard interrupts;
  ApplyFieldReport report;
  try {
    report = applyField(job, [&](const std::string& stage, double done) {
      if (stage == "Writing") interrupts.beginWriting();
      interrupts.check();
      bar.show(stage, done);
    });
  } catch (const Interrupted& stop) {
    bar.clear();
    hostSession().console.messageBox(std::string("Error: ") + stop.what());
    return exitInterrupted;
  }
  bar.clear();
  if (!arguments.quiet) tell(report, !job.reference.empty());
  for (const std::string& warning : report.warnings) hostSession().console.warn(warning);
  for (const std::string& file : report.outputs) std::cout << file << "\n";
  return exitSuccess;
}

}  // namespace mirel
