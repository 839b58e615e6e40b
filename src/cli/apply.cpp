#include <memory>

#include "cli/applyfield.h"
#include "cli/command.h"
#include "host/hosterror.h"
#include "host/mapfile.h"
#include "host/outputs.h"
#include "host/session.h"
#include "host/task.h"

namespace {

constexpr const char* description =
    "Correct projects with a map of 'mirel estimate', or NIfTI images with a field in Hz.\n"
    "\n"
    "With --vdm every volume of each project is resampled along the phase-encoding axis; the\n"
    "result is written beside the project, RUN_undist.fmr for RUN.fmr. A project has the\n"
    "dimensions of the map.\n"
    "With --field every RUN is an image of the same session on any grid. The field is resampled\n"
    "to its grid and scaled by its readout time; direction and readout time come from its BIDS\n"
    "sidecar (.json) or from options. Written to DIR are RUN_desc-corrected_SUFFIX.nii.gz and\n"
    "a sidecar. Prints the names of the files written.\n";

struct Options {
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

std::vector<ProjectInfo> checkedProjects(const Options& options, const MapHeader& map) {
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
    throw HostError(options.map + " is " + shape.dimensionText() +
                    ": --rllr needs slices with as many columns as rows; correct such projects "
                    "with 'mirel estimate --rllr --apply'");
  refuseOverwrittenInputs(projects);
  return projects;
}

int runApply(const Options& options, const std::string& pluginFile) {
  const MapHeader map = checkedMap(options.map);
  const std::vector<ProjectInfo> projects = checkedProjects(options, map);
  ExpectedOutputs outputs;
  HostSession& session = hostSession();
  for (const ProjectInfo& project : projects) {
    outputs.add(correctedProjectName(project.fileName));
    outputs.add(correctedDataName(project.fileName));
    for (const std::string& warning : dataFileWarnings(project)) session.console.warn(warning);
  }
  Plugin plugin(findPlugin(pluginFile));
  session.maps.setCurrentDimensions(map.dimX, map.dimY, map.dimZ);
  session.parameters.setText("vdm", options.map);
  session.parameters.setInt("rllr", options.rllr);
  if (!runTaskOnFiles(plugin, "apply", options.files)) return exitFailure;
  return reportOutputs(outputs) ? exitSuccess : exitFailure;
}

}  // namespace

void addApplyCommand(CLI::App& app, Program& program) {
  CLI::App* command = app.add_subcommand("apply", description);
  const auto options = std::make_shared<Options>();
  CLI::Option* map =
      command
          ->add_option("--vdm", options->map, "For projects: the map to apply (shifts in voxels)")
          ->type_name("A_vdm.map");
  command
      ->add_option("RUN", options->files,
                   "With --vdm projects (.fmr or .dmr), with --field images (.nii, .nii.gz)")
      ->type_name("")
      ->required();
  CLI::Option* rllr =
      command->add_flag("--rllr", options->rllr,
                        "With --vdm: phase encoding runs along x, right-left (default: along y)");
  CLI::Option* field = addApplyFieldOptions(command, options->field)->excludes(map);
  rllr->needs(map);
  command->callback([options, map, field, &program] {
    if (map->count() == 0 && field->count() == 0)
      throw CLI::RequiredError("--vdm (for projects) or --field (for images)");
    program.action = [options, withField = field->count() > 0, &program] {
      if (withField) return runApplyField(options->field, options->files);
      return runApply(*options, program.pluginFile);
    };
  });
}
