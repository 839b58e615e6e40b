#include <iostream>
#include <memory>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/outputfile.h"
#include "base/samefile.h"
#include "bids/inheritance.h"
#include "cli/command.h"
#include "cli/inputimage.h"
#include "cli/numbers.h"
#include "convert/convert.h"
#include "field/fieldhz.h"
#include "files/mapfile.h"
#include "host/session.h"
#include "nifti/filename.h"
#include "nifti/image.h"

namespace mirel {

namespace {

constexpr const char* description =
    "Turn a displacement map into a field in Hz, or a field into a map.\n"
    "\n"
    "The field f belongs to the head, the map d (shifts in voxels) to one acquisition of it:\n"
    "d = f T for phase encoding along i, j or k, d = -f T along i-, j- or k-, with the total\n"
    "readout time T. Direction and readout time are those of the map's image: from the sidecar\n"
    "(.json) of the reference, or from options. Prints the name of the file written.\n";

struct Options {
  std::string mapFile, fieldFile, reference, direction, output;
  double readoutSeconds = 0;
};

struct Acquisition {
  bids::PhaseEncodingDirection direction;
  double readoutSeconds = 0;
};

/// Options first, then the sidecars of the reference.
Acquisition acquisitionOf(const Options& options, const nifti::Header& header) {
  std::optional<bids::Sidecar> sidecar;
  const bool wanted = options.direction.empty() || !(options.readoutSeconds > 0);
  if (wanted && nifti::hasNiftiName(options.reference))
    sidecar = bids::findSidecar(options.reference);
  Acquisition result;
  if (!options.direction.empty()) {
    result.direction = bids::parsePhaseEncoding(options.direction, "--pe");
  } else {
    const auto stated = sidecar ? sidecar->phaseEncoding() : std::nullopt;
    if (!stated)
      throw Error("the phase-encoding direction of " + options.reference +
                  " is not known; give it with --pe");
    result.direction = *stated;
  }
  result.readoutSeconds = options.readoutSeconds;
  if (result.readoutSeconds > 0) {
    bids::checkReadout(result.readoutSeconds, "--readout");
  } else {
    const auto stated =
        sidecar ? sidecar->readout(header.dims[result.direction.axis]) : std::nullopt;
    if (!stated)
      throw Error("the readout time of " + options.reference +
                  " is not known; give it with --readout");
    result.readoutSeconds = stated->seconds;
  }
  return result;
}

void mapToField(const Options& options, const nifti::Header& header) {
  if (!nifti::hasNiftiName(options.output))
    throw Error("a field is written as a NIfTI image; " + options.output +
                " ends with neither .nii nor .nii.gz");
  const Volume<float> shift = readDisplacement(options.mapFile);
  if (shift.dimensions() != header.dims)
    throw Error(options.mapFile + " has " + text(shift.dimensions()) + " voxels, but " +
                options.reference + " has " + text(header.dims));
  const Acquisition acquisition = acquisitionOf(options, header);
  writeField(fieldFromShift(shift, gridOf(header), acquisition.direction,
                            acquisition.readoutSeconds, options.mapFile),
             header, options.output);
}

void fieldToMap(const Options& options, const nifti::Header& header) {
  if (!options.output.ends_with(".map"))
    throw Error("a map is written as a .map file, which " + options.output + " is not");
  const FieldHz field = readField(options.fieldFile);
  if (field.nonFinite > 0)
    hostSession().console.warn(options.fieldFile + " has " + std::to_string(field.nonFinite) +
                               " NaN or infinite voxel(s), which count as 0 Hz");
  const Acquisition acquisition = acquisitionOf(options, header);
  const Volume<float> shift =
      shiftVoxels(field, header, acquisition.direction, acquisition.readoutSeconds);
  // As the estimate's own maps: kind 1, shown from 1 to 5 voxels.
  Map map;
  map.header = {header.dims.x, header.dims.y, header.dims.z, 1, 1.0f, 5.0f, 0, 0};
  map.values.assign(shift.data(), shift.data() + shift.size());
  writeMapFile(options.output, map);
}

int runField(const Options& options) {
  const std::string& in = options.mapFile.empty() ? options.fieldFile : options.mapFile;
  for (const std::string& input : {in, options.reference}) refuseOverwrite(options.output, input);
  std::vector<std::string> notes;
  const nifti::Header header = convert::referenceHeader(options.reference, notes);
  for (const std::string& note : notes) std::cerr << "Note: " << note << "\n";
  if (options.mapFile.empty())
    fieldToMap(options, header);
  else
    mapToField(options, header);
  std::cout << options.output << "\n";
  return exitSuccess;
}

}  // namespace

void addFieldCommand(CLI::App& app, Program& program) {
  CLI::App* command = app.add_subcommand("field", description);
  const auto options = std::make_shared<Options>();
  CLI::Option* fromMap =
      command
          ->add_option("--from-map", options->mapFile,
                       "The map to turn into a field: a .map, or a NIfTI image (shifts in voxels)")
          ->type_name("A_vdm.map");
  CLI::Option* toMap = command
                           ->add_option("--to-map", options->fieldFile,
                                        "The field to turn into a map on the reference's grid")
                           ->type_name("FIELD")
                           ->excludes(fromMap);
  command
      ->add_option("--reference", options->reference,
                   "The image (or project) that the map belongs to")
      ->type_name("A")
      ->required();
  command
      ->add_option("--pe", options->direction,
                   "Its phase-encoding direction: i, i-, j, j-, k or k- (default: its sidecar's)")
      ->type_name("DIR")
      ->check(CLI::IsMember({"i", "i-", "j", "j-", "k", "k-"}));
  command
      ->add_option("--readout", options->readoutSeconds,
                   "Its total readout time in s (default: its sidecar's)")
      ->type_name("S")
      ->check(refuseNotPositive);
  command
      ->add_option("-o,--output", options->output,
                   "The field (.nii, .nii.gz) or map (.map) to write; an older one is replaced")
      ->type_name("FILE")
      ->required();
  command->callback([options, fromMap, toMap, &program] {
    if (fromMap->count() == 0 && toMap->count() == 0)
      throw CLI::RequiredError("--from-map or --to-map");
    program.action = [options] { return runField(*options); };
  });
}

}  // namespace mirel
