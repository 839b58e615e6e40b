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
#include "jobs/measurefield.h"
#include "nifti/filename.h"
#include "nifti/finite.h"
#include "nifti/image.h"

namespace mirel {

namespace {

constexpr int mostEchoes = 32;

constexpr const char* fieldDescription =
    "Turn a displacement map into a field in Hz, or a field into a map; or make a field in Hz of\n"
    "what a scanner measured: phases of gradient echoes, or a field in Hz, rad/s or T.\n"
    "\n"
    "The field f belongs to the head, the map d (shifts in voxels) to one acquisition of it:\n"
    "d = f T for phase encoding along i, j or k, d = -f T along i-, j- or k-, with the total\n"
    "readout time T. Direction and readout time are those of the map's image: from the sidecar\n"
    "(.json) of the reference, or from options.\n"
    "\n"
    "A measured field is unwrapped, smoothed as far as its noise reaches, continued beyond the\n"
    "head, and written with a sidecar of the same name. Prints the names of the files written.\n";

struct FieldCommandOptions {
  std::string mapFile, fieldFile, reference, output;
  std::optional<bids::Unit> unit;
  bids::GivenAcquisition given;
  MeasureFieldOptions measured;
  std::vector<double> echoTimes;

  bool isMeasured() const {
    return !measured.phaseFiles.empty() || !measured.realFiles.empty() ||
           !measured.complexFiles.empty() || !measured.fieldFile.empty();
  }
};

/// Direction and readout time of the reference: options first, then its sidecars. A project has
/// none.
bids::Acquisition acquisitionOf(const FieldCommandOptions& options, const nifti::Header& header) {
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

// Of a DistortionFile or a MeasuredFieldRun.
template <class Told>
void tell(const Told& told) {
  for (const Remark& note : told.notes) std::cerr << "Note: " << sentenceOf(note) << "\n";
  for (const Remark& warning : told.warnings) hostSession().console.warn(sentenceOf(warning));
}

void mapToField(const FieldCommandOptions& options, const nifti::Header& header) {
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

void fieldToMap(const FieldCommandOptions& options, const nifti::Header& header) {
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

int runMeasured(const FieldCommandOptions& options) {
  MeasureFieldOptions job = options.measured;
  job.output = options.output;
  job.unit = options.unit;
  job.version = MIREL_VERSION;
  job.echoSeconds = options.echoTimes;
  const MeasuredFieldRun run = measureField(job);
  tell(run);
  for (const std::string& output : run.outputs) std::cout << output << "\n";
  return exitSuccess;
}

int runField(const FieldCommandOptions& options) {
  const EndBySignal end({options.output});
  if (options.isMeasured()) return runMeasured(options);
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

struct SourceOptions {
  Option *fromMap, *toMap, *fromPhase, *fromReal, *fromComplex, *fromField;

  std::vector<Option*> given() const {
    std::vector<Option*> all;
    for (Option* option : {fromMap, toMap, fromPhase, fromReal, fromComplex, fromField})
      if (option->count() > 0) all.push_back(option);
    return all;
  }
  bool hasEchoes() const {
    return fromPhase->count() + fromReal->count() + fromComplex->count() > 0;
  }
  bool isMeasured() const { return hasEchoes() || fromField->count() > 0; }
};

SourceOptions addSources(Command* command, FieldCommandOptions& options) {
  return {
      command
          ->add_option("--from-map", options.mapFile,
                       "The map to turn into a field: a .map, or a NIfTI image (shifts in voxels)")
          ->type_name("A_vdm.map"),
      command
          ->add_option("--to-map", options.fieldFile,
                       "The field to turn into a map on the reference's grid")
          ->type_name("FIELD"),
      command
          ->add_option(
              "--from-phase", options.measured.phaseFiles,
              "The phase to make a field of: the difference of two echoes (phasediff), or\n"
              "the phases of two or more (phase1 phase2)")
          ->type_name("PHASE")
          ->expected(1, mostEchoes),
      command
          ->add_option("--from-real", options.measured.realFiles,
                       "The real parts of two or more echoes' images (part-real)")
          ->type_name("REAL")
          ->expected(1, mostEchoes),
      command
          ->add_option("--complex", options.measured.complexFiles,
                       "Images of complex numbers (data type complex64 or complex128), of two or\n"
                       "more echoes in all: one of each, or several as volumes of a file")
          ->type_name("IMAGE")
          ->expected(1, mostEchoes),
      command
          ->add_option(
              "--from-fieldmap", options.measured.fieldFile,
              "The measured field to clean, smooth and continue, in Hz, rad/s or T as its\n"
              "sidecar says (Units)")
          ->type_name("FIELD"),
  };
}

struct MeasuredOptions {
  Option *magnitude, *echoTimes, *imaginary;

  std::vector<Option*> all() const { return {magnitude, echoTimes, imaginary}; }
};

MeasuredOptions addMeasuredOptions(Command* command, FieldCommandOptions& options) {
  return {
      command
          ->add_option("--magnitude", options.measured.magnitudeFile,
                       "Of the phase or measured field: its magnitude (default: magnitude1 or\n"
                       "magnitude beside it, by the names of BIDS; that of the first echo's parts)")
          ->type_name("IMAGE"),
      command
          ->add_option(
              "--echo-times", options.echoTimes,
              "Of the phase or the parts: the echo times in s, one per echo (default: EchoTime1\n"
              "and EchoTime2 of its sidecar, EchoTime of each phase, real part or complex\n"
              "image; a list where that has several echoes)")
          ->type_name("S")
          ->expected(2, mostEchoes),
      command
          ->add_option(
              "--imaginary", options.measured.imaginaryFiles,
              "Of the real parts: the imaginary ones in the same order (default: part-imag\n"
              "beside each)")
          ->type_name("IMAG")
          ->expected(1, mostEchoes),
  };
}

struct MapOptions {
  Option *reference, *direction, *readout;

  std::vector<Option*> all() const { return {reference, direction, readout}; }
};

MapOptions addMapOptions(Command* command, FieldCommandOptions& options) {
  return {
      command
          ->add_option("--reference", options.reference,
                       "Of a map: the image (or project) that it belongs to")
          ->type_name("A"),
      addDirectionOption(
          command, "--pe", options.given.direction,
          "Its phase-encoding direction: i, i-, j, j-, k or k- (default: its sidecar's)"),
      addReadoutOption(command, "--readout", options.given.readoutSeconds,
                       "Its total readout time in s (default: its sidecar's)"),
  };
}

void refuseGiven(const std::vector<Option*>& options, const Option* source) {
  for (const Option* option : options)
    if (option->count() > 0) refuseTogether(source->get_name(), option->get_name());
}

}  // namespace

void addFieldCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("field", fieldDescription);
  const auto options = std::make_shared<FieldCommandOptions>();
  const SourceOptions sources = addSources(command, *options);
  const MapOptions ofMaps = addMapOptions(command, *options);
  const MeasuredOptions ofMeasured = addMeasuredOptions(command, *options);
  Option* unit =
      addUnitOption(command, options->unit,
                    "What the values of the field or the NIfTI map are (default: the Units of its\n"
                    "sidecar, else Hz and voxels)");
  command
      ->add_option("-o,--output", options->output,
                   "The field (.nii, .nii.gz) or map (.map) to write; an older one is replaced")
      ->type_name("FILE")
      ->required();
  command->callback([options, sources, ofMaps, ofMeasured, unit, &program] {
    const std::vector<Option*> given = sources.given();
    if (given.empty())
      refuseMissing(
          "--from-phase, --from-real, --complex, --from-fieldmap, --from-map or --to-map");
    if (given.size() > 1) refuseTogether(given[0]->get_name(), given[1]->get_name());
    refuseGiven(sources.isMeasured() ? ofMaps.all() : ofMeasured.all(), given[0]);
    if (sources.hasEchoes()) refuseGiven({unit}, given[0]);
    if (sources.fromReal->count() == 0) refuseGiven({ofMeasured.imaginary}, given[0]);
    if (sources.fromField->count() > 0) refuseGiven({ofMeasured.echoTimes}, given[0]);
    if (!sources.isMeasured() && ofMaps.reference->count() == 0) refuseMissing("--reference");
    program.action = [options] { return runField(*options); };
  });
}

}  // namespace mirel
