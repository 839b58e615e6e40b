#include <iostream>
#include <memory>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/outputfile.h"
#include "base/samefile.h"
#include "bids/acquisition.h"
#include "cli/advice.h"
#include "cli/command.h"
#include "cli/directionoption.h"
#include "cli/interrupt.h"
#include "convert/convert.h"
#include "field/fieldhz.h"
#include "files/mapfile.h"
#include "files/usablemap.h"
#include "host/session.h"
#include "jobs/distortionfile.h"
#include "jobs/mapseries.h"
#include "nifti/filename.h"
#include "nifti/finite.h"
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
  std::string mapFile, fieldFile, reference, output;
  std::optional<bids::Unit> unit;
  bids::GivenAcquisition given;
};

/// Direction and readout time of the reference: options first, then its sidecars. A project has
/// none.
bids::Acquisition acquisitionOf(const Options& options, const nifti::Header& header) {
  bids::Acquisition acquisition;
  if (nifti::hasNiftiName(options.reference)) {
    acquisition = bids::resolveAcquisition(options.reference, header.dims, options.given,
                                           bids::SidecarUse::whereNeeded);
  } else {
    acquisition = bids::givenAcquisition(options.reference, options.given);
    if (!acquisition.direction)
      throw Error("the phase-encoding direction of " + options.reference + " is not known",
                  {Advice::Kind::giveDirection});
    if (!acquisition.readout)
      throw Error("the readout time of " + options.reference + " is not known",
                  {Advice::Kind::giveReadout});
  }
  bids::requireDirection(acquisition, options.reference);
  bids::requireReadout(acquisition, options.reference);
  return acquisition;
}

void tell(const DistortionFile& file) {
  for (const Remark& note : file.notes) std::cerr << "Note: " << sentenceOf(note) << "\n";
  for (const Remark& warning : file.warnings) hostSession().console.warn(sentenceOf(warning));
}

void mapToField(const Options& options, const nifti::Header& header) {
  if (!nifti::hasNiftiName(options.output))
    throw Error("a field is written as a NIfTI image; " + options.output +
                " ends with neither .nii nor .nii.gz");
  DistortionFile map = readDistortionFile(options.mapFile, TakenFor::map, options.unit);
  if (map.values.dimensions() != header.dims)
    throw Error(options.mapFile, "has " + text(map.values.dimensions()) + " voxels, but " +
                                     options.reference + " has " + text(header.dims));
  const bids::Acquisition acquisition = acquisitionOf(options, header);
  const Volume<float> shift = shiftFor(map, acquisition.direction->value, options.reference);
  tell(map);
  const FieldHz field = fieldFromShift(shift, gridOf(header), acquisition.direction->value,
                                       acquisition.readout->seconds, options.mapFile);
  nifti::requireFinite(field.hz, options.output);
  writeField(field, header, options.output);
}

void fieldToMap(const Options& options, const nifti::Header& header) {
  if (!options.output.ends_with(".map"))
    throw Error("a map is written as a .map file, which " + options.output + " is not");
  DistortionFile file = readDistortionFile(options.fieldFile, TakenFor::field, options.unit);
  tell(file);
  if (!file.isField())
    throw Error(options.fieldFile,
                "is a displacement map in " + nameOf(file.unit.value) + ", not a field");
  const FieldHz field = fieldOf(std::move(file));
  const bids::Acquisition acquisition = acquisitionOf(options, header);
  const Volume<float> shift =
      shiftVoxels(field, header, acquisition.direction->value, acquisition.readout->seconds);
  // As the estimate's own maps: kind 1, shown from 1 to 5 voxels.
  Map map;
  map.header = {header.dims.x, header.dims.y, header.dims.z, 1, 1.0f, 5.0f, 0, 0};
  map.values.assign(shift.data(), shift.data() + shift.size());
  refuseUnusableMap(map, options.output);
  writeMapFile(options.output, map);
}

int runField(const Options& options) {
  const EndBySignal end({options.output});
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

void addFieldCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("field", description);
  const auto options = std::make_shared<Options>();
  Option* fromMap =
      command
          ->add_option("--from-map", options->mapFile,
                       "The map to turn into a field: a .map, or a NIfTI image (shifts in voxels)")
          ->type_name("A_vdm.map");
  Option* toMap = command
                      ->add_option("--to-map", options->fieldFile,
                                   "The field to turn into a map on the reference's grid")
                      ->type_name("FIELD")
                      ->excludes(fromMap);
  command
      ->add_option("--reference", options->reference,
                   "The image (or project) that the map belongs to")
      ->type_name("A")
      ->required();
  addDirectionOption(
      command, "--pe", options->given.direction,
      "Its phase-encoding direction: i, i-, j, j-, k or k- (default: its sidecar's)");
  addReadoutOption(command, "--readout", options->given.readoutSeconds,
                   "Its total readout time in s (default: its sidecar's)");
  addUnitOption(command, options->unit,
                "What the values of the field or the NIfTI map are (default: the Units of its\n"
                "sidecar, else Hz and voxels)");
  command
      ->add_option("-o,--output", options->output,
                   "The field (.nii, .nii.gz) or map (.map) to write; an older one is replaced")
      ->type_name("FILE")
      ->required();
  command->callback([options, fromMap, toMap, &program] {
    if (fromMap->count() == 0 && toMap->count() == 0) refuseMissing("--from-map or --to-map");
    program.action = [options] { return runField(*options); };
  });
}

}  // namespace mirel
