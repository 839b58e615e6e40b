#include <memory>

#include "cli/command.h"
#include "host/hosterror.h"
#include "host/mapfile.h"
#include "host/outputs.h"
#include "host/session.h"
#include "host/task.h"

namespace {

constexpr const char* description =
    "Correct projects with a voxel displacement map of 'mirel estimate'.\n"
    "\n"
    "Every volume of each project is resampled along the phase-encoding axis; the result is\n"
    "written beside the project, RUN_undist.fmr for RUN.fmr. Prints the names of the files\n"
    "written. A project has the dimensions of the map.\n";

struct Options {
  std::string map;
  std::vector<std::string> files;
  bool rllr = false;
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
  command->add_option("--vdm", options->map, "The map to apply (shifts in voxels)")
      ->type_name("A_vdm.map")
      ->required();
  command->add_option("RUN", options->files, "Projects to correct (.fmr or .dmr)")
      ->type_name("")
      ->required();
  command->add_flag("--rllr", options->rllr,
                    "Phase encoding runs along x, right-left (default: along y)");
  command->callback([options, &program] {
    program.action = [options, &program] { return runApply(*options, program.pluginFile); };
  });
}
