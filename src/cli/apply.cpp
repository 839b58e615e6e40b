#include <algorithm>
#include <memory>

#include "base/error.h"
#include "cli/applyfield.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "files/headerdoubts.h"
#include "files/mapfile.h"
#include "host/outputs.h"
#include "host/session.h"
#include "host/task.h"
#include "nifti/filename.h"

namespace mirel {

namespace {

constexpr const char* applyDescription =
    "Correct projects or NIfTI images with a map of 'mirel estimate', or images with a field in\n"
    "Hz.\n"
    "\n"
    "With --vdm every volume of each RUN, which has the dimensions of the map, is resampled along\n"
    "the phase-encoding axis. A project's result is written beside it, RUN_undist.fmr for\n"
    "RUN.fmr. For images the sidecars (.json) of map and RUN tell unit, axis and directions: a\n"
    "map in mm is converted, one for the opposite direction turned round.\n"
    "With --field every RUN is an image of the same session on any grid. The field is resampled\n"
    "to its grid and scaled by its readout time; direction and readout time come from RUN's BIDS\n"
    "sidecar or from options, the unit of the field from the field's sidecar.\n"
    "Images are written to DIR as RUN_desc-preproc_SUFFIX.nii.gz with a sidecar, and report.html,\n"
    "a page to look at. Prints the names of the files written.\n";

struct ApplyCommandOptions {
  std::string map;
  std::vector<std::string> files;
  bool rllr = false;
  ApplyFieldArguments field;
};

/// The map is read whole here, so that the plugin never meets one that is damaged.
MapHeader checkedMap(const std::string& fileName) {
  refuseImpossibleName(fileName);
  return readMapFile(fileName).header;
}

std::vector<ProjectInfo> checkedProjects(const ApplyCommandOptions& options, const MapHeader& map) {
  ProjectInfo shape;
  shape.dimX = map.dimX;
  shape.dimY = map.dimY;
  shape.dimZ = map.dimZ;
  std::vector<ProjectInfo> projects;
  for (const std::string& file : options.files) {
    refuseImpossibleName(file);
    projects.push_back(readProjectInfo(file));
    refuseOtherDimensions(projects.back(), shape.dimensionText(), options.map);
  }
  // The plugin compares a project's x and y with those of the transposed map.
  if (options.rllr && map.dimX != map.dimY)
    throw Error(options.map,
                "is " + shape.dimensionText() +
                    ": --rllr needs slices with as many columns as rows; correct such projects "
                    "with 'mirel estimate --rllr --apply'");
  refuseOverwrittenInputs(projects);
  return projects;
}

int runApply(const ApplyCommandOptions& options, const std::string& pluginFile) {
  const EndBySignal end(options.files);
  const MapHeader map = checkedMap(options.map);
  const std::vector<ProjectInfo> projects = checkedProjects(options, map);
  ExpectedOutputs outputs;
  HostSession& session = hostSession();
  for (const ProjectInfo& project : projects) {
    outputs.add(correctedProjectName(project.fileName));
    outputs.add(correctedDataName(project.fileName));
    for (const std::string& warning : doubtsAboutHeader(project.fileName))
      session.console.warn(warning);
    for (const std::string& warning : dataFileWarnings(project)) session.console.warn(warning);
  }
  Plugin plugin(findPlugin(pluginFile));
  session.maps.setCurrentDimensions(map.dimX, map.dimY, map.dimZ);
  session.parameters.setText("vdm", options.map);
  session.parameters.setInt("rllr", options.rllr);
  if (!runTaskOnFiles(plugin, "apply", options.files)) return exitFailure;
  return reportOutputs(outputs) ? exitSuccess : exitFailure;
}

bool areImages(const std::vector<std::string>& files) {
  return std::any_of(files.begin(), files.end(), nifti::hasNiftiName);
}

void checkUsage(const ImageCommandOptions& line, bool withImages) {
  if (withImages && line.output->count() == 0) refuseMissing("--output (for images)");
  if (withImages) return;
  for (const Option* option : line.forImages)
    if (option->count() > 0) refuseWithout(option->get_name(), "images (.nii, .nii.gz)");
}

}  // namespace

void addApplyCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("apply", applyDescription);
  const auto options = std::make_shared<ApplyCommandOptions>();
  Option* map =
      command
          ->add_option("--vdm", options->map,
                       "The map to apply (shifts in voxels), for projects and images of its grid;\n"
                       "for images it may be a NIfTI image, too, in voxels or mm")
          ->type_name("A_vdm.map");
  command
      ->add_option("RUN", options->files,
                   "Images (.nii, .nii.gz), or with --vdm projects (.fmr or .dmr)")
      ->type_name("")
      ->required();
  Option* rllr =
      command->add_flag("--rllr", options->rllr,
                        "With --vdm: phase encoding runs along x, right-left (default: along y;\n"
                        "for images what sidecars say)");
  const ImageCommandOptions line = addApplyFieldOptions(command, options->field);
  line.field->excludes(map);
  rllr->needs(map);
  line.mapDirection->needs(map)->excludes(rllr);
  command->callback([options, map, line, &program] {
    const bool withField = line.field->count() > 0;
    if (map->count() == 0 && !withField)
      refuseMissing("--vdm (for projects and images) or --field (for images)");
    const bool withImages = withField || areImages(options->files);
    checkUsage(line, withImages);
    program.action = [options, withField, withImages, &program] {
      if (!withImages) return runApply(*options, program.pluginFile);
      if (!withField) options->field.job.mapFile = options->map;
      options->field.job.map.alongX = options->rllr;
      return runApplyField(options->field, options->files, program);
    };
  });
}

}  // namespace mirel
