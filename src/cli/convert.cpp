#include "convert/convert.h"

#include <filesystem>
#include <iostream>
#include <memory>

#include "base/error.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "files/mapfile.h"
#include "files/projectnames.h"
#include "nifti/filename.h"
#include "nifti/image.h"

namespace mirel {

namespace {

constexpr const char* convertDescription =
    "Convert between NIfTI images and projects, or a map to NIfTI.\n"
    "\n"
    "The extensions say what becomes what:\n"
    "  .nii, .nii.gz  to  .fmr (with .stc) or .dmr (with .dwi)\n"
    "  .fmr, .dmr     to  .nii or .nii.gz\n"
    "  .map           to  .nii or .nii.gz\n"
    "Axes i, j, k of an image are x, y, z of a project. Integers that fit 16 bits (signed) stay\n"
    "exact, all other data become 32-bit floats. A small NAME_geometry.json beside the project\n"
    "keeps what its header rounds, so that the way back returns the same voxels and orientation.\n"
    "For a .dmr, the .bvec and .bval files beside the image become the gradient table, and a\n"
    "gradient table comes back as such files.\n";

struct ConvertCommandOptions {
  std::string in;
  std::string out;
  std::string reference;
  std::string bvec;
  std::string bval;
};

/// The project that a map belongs to by its name (run1.fmr or run1.dmr for run1_vdm.map), when
/// there is exactly one.
std::string projectOfMap(const std::string& mapFile) {
  std::string found;
  for (const std::string& project : possibleProjectsOf(mapFile)) {
    if (!std::filesystem::exists(project)) continue;
    if (!found.empty()) return {};
    found = project;
  }
  return found;
}

convert::ConvertReport convertMapFile(const ConvertCommandOptions& options) {
  if (!nifti::hasNiftiName(options.out))
    throw Error("a map is converted to a NIfTI image; " + options.out +
                " ends with neither .nii nor .nii.gz");
  const std::string reference =
      options.reference.empty() ? projectOfMap(options.in) : options.reference;
  if (reference.empty())
    throw Error(options.in,
                "has no orientation: name an image or project of the same grid with "
                "--reference");
  const Volume<float> volume = volumeOf(readMapFile(options.in));
  return convert::convertMap(volume, options.in, reference, options.out);
}

convert::ConvertReport convertAny(const ConvertCommandOptions& options) {
  if (options.in.ends_with(".map")) {
    if (!options.bvec.empty() || !options.bval.empty())
      throw Error("a map has no gradients: --bvec and --bval are for an image");
    return convertMapFile(options);
  }
  if (!options.reference.empty())
    throw Error("--reference is for a map; " + options.in + " has an orientation of its own");
  return convert::convert(options.in, options.out, {options.bvec, options.bval});
}

int runConvert(const ConvertCommandOptions& options) {
  const EndBySignal end({options.out});
  const convert::ConvertReport report = convertAny(options);
  for (const std::string& note : report.notes) std::cerr << "Note: " << note << "\n";
  for (const std::string& name : report.written) std::cout << name << "\n";
  return exitSuccess;
}

}  // namespace

void addConvertCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("convert", convertDescription);
  const auto options = std::make_shared<ConvertCommandOptions>();
  command->add_option("IN", options->in, "A NIfTI image, a project or a map")
      ->type_name("")
      ->required();
  command->add_option("OUT", options->out, "The file to write; an older one is replaced")
      ->type_name("")
      ->required();
  command
      ->add_option("--reference", options->reference,
                   "For a map: the image or project whose orientation it gets\n"
                   "(default: run1.fmr or run1.dmr beside run1_vdm.map)")
      ->type_name("FILE");
  command
      ->add_option("--bvec", options->bvec,
                   "Gradient directions of the image (default: its name with .bvec)")
      ->type_name("FILE");
  command
      ->add_option("--bval", options->bval,
                   "b-values of the image, s/mm^2 (default: its name with .bval)")
      ->type_name("FILE");
  command->callback(
      [options, &program] { program.action = [options] { return runConvert(*options); }; });
}

}  // namespace mirel
