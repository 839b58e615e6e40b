#include <memory>

#include "base/error.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "files/headerdoubts.h"
#include "host/outputs.h"
#include "host/session.h"
#include "host/task.h"
#include "hostapi/cnztlog.h"
#include "jobs/estimateprojects.h"

namespace mirel {

namespace {

constexpr const char* estimateDescription =
    "Estimate the displacement maps of two projects with opposite phase encoding.\n"
    "\n"
    "Writes A_vdm.map and B_vdm.map beside the projects: the shift of every voxel along the\n"
    "phase-encoding axis, in voxels. B's map is A's negated. Prints the names of the files\n"
    "written. Without options: the full estimate from the first volume of each project, with\n"
    "NCC, for phase encoding along y. --estimator mass-preserving takes the method of\n"
    "'mirel correct' instead of the plugin's.\n";

struct EstimateCommandOptions {
  ProjectPair pair;
  bool intensityCorrection = false;
  bool ssd = false;
  bool ncc = false;
  bool fast = false;
  std::string estimator;
  bool noMotion = false;

  bool isMassPreserving() const { return estimator == "mass-preserving"; }
};

/// The parser's own check of this kind prints the largest double as the upper limit.
std::string refuseNegative(const std::string& text) {
  return text.starts_with("-") ? "volumes are counted from 0, but " + text + " is given" : "";
}

ExpectedOutputs expectedOutputs(const EstimateCommandOptions& options) {
  ExpectedOutputs outputs;
  for (const std::string& file : options.pair.files) outputs.add(vdm_filename(file));
  if (options.pair.saveDerivative)
    for (const std::string& file : options.pair.files) outputs.add(vdmderiv_filename(file));
  if (!options.pair.applyToInput) return outputs;
  for (const std::string& file : options.pair.files) {
    outputs.add(correctedProjectName(file));
    outputs.add(correctedDataName(file));
  }
  return outputs;
}

void setParameters(const EstimateCommandOptions& options, ParameterStore& parameters) {
  parameters.setText("file0", options.pair.files[0]);
  parameters.setText("file1", options.pair.files[1]);
  parameters.setInt("volume0", options.pair.volumes[0]);
  parameters.setInt("volume1", options.pair.volumes[1]);
  parameters.setInt("rllr", options.pair.rllr);
  parameters.setInt("use_ic", options.intensityCorrection);
  parameters.setInt("use_ssd", options.ssd);
  parameters.setInt("fast_algorithm", options.fast);
  parameters.setInt("save_derivative", options.pair.saveDerivative);
  parameters.setInt("apply_to_input", options.pair.applyToInput);
}

// The search has a use even so.
void refuseMissingVoxelSize(const ProjectInfo& project) {
  if (!voxelSizeWarnings(project).empty())
    throw Error(project.fileName +
                ": the header gives no voxel size, which the mass-preserving estimate needs");
}

// The task of the plugin, which finds its options and the maps' store in the session.
bool runSearch(const EstimateCommandOptions& options, const ProjectInfo& first,
               const std::string& pluginFile) {
  HostSession& session = hostSession();
  setParameters(options, session.parameters);
  session.maps.setCurrentDimensions(first.dimX, first.dimY, first.dimZ);
  Plugin plugin(findPlugin(pluginFile));
  session.maps.saveTogether(options.pair.saveDerivative ? 4 : 2);
  if (!runTask(plugin, "estimate")) return false;
  session.maps.writeKept();
  return true;
}

void runMassPreserving(const EstimateCommandOptions& options) {
  CNZTLog log([](const char* text) { hostSession().console.log(text); });
  estimateProjectsMassPreserving(options.pair, /*estimateMotion=*/!options.noMotion, log);
}

int runEstimate(const EstimateCommandOptions& options, const std::string& pluginFile) {
  const EndBySignal end({options.pair.files[0], options.pair.files[1]});
  for (const std::string& file : options.pair.files) refuseImpossibleName(file);
  const std::vector<ProjectInfo> projects = {readProjectInfo(options.pair.files[0]),
                                             readProjectInfo(options.pair.files[1])};
  refuseSharedMaps(options.pair.files[0], options.pair.files[1]);
  if (options.pair.applyToInput) refuseOverwrittenInputs(projects);
  refuseOtherDimensions(projects[1], projects[0].dimensionText(), projects[0].fileName);
  if (options.isMassPreserving()) refuseMissingVoxelSize(projects[0]);
  const ExpectedOutputs outputs = expectedOutputs(options);
  HostSession& session = hostSession();
  for (const std::string& warning : voxelSizeWarnings(projects[0])) session.console.warn(warning);
  for (const ProjectInfo& project : projects) {
    for (const std::string& warning : doubtsAboutHeader(project.fileName))
      session.console.warn(warning);
    for (const std::string& warning : dataFileWarnings(project)) session.console.warn(warning);
  }

  if (options.isMassPreserving())
    runMassPreserving(options);
  else if (!runSearch(options, projects[0], pluginFile))
    return exitFailure;
  return reportOutputs(outputs) ? exitSuccess : exitFailure;
}

}  // namespace

void addEstimateCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("estimate", estimateDescription);
  const auto options = std::make_shared<EstimateCommandOptions>();
  command->add_option("A", options->pair.files[0], "First project (.fmr or .dmr)")
      ->type_name("")
      ->required();
  command->add_option("B", options->pair.files[1], "Second project, of the same dimensions as A")
      ->type_name("")
      ->required();
  command
      ->add_option("--volume0", options->pair.volumes[0],
                   "Volume of A to use, counted from 0 (default: 0, the first)")
      ->type_name("N")
      ->check(refuseNegative);
  command
      ->add_option("--volume1", options->pair.volumes[1],
                   "Volume of B to use, counted from 0 (default: 0, the first)")
      ->type_name("N")
      ->check(refuseNegative);
  command->add_flag("--rllr", options->pair.rllr,
                    "Phase encoding runs along x, right-left (default: along y)");
  command
      ->add_option("--estimator", options->estimator,
                   "Method of the estimate: search (default), the plugin's, or mass-preserving,\n"
                   "which models the signal that piles up or thins out, and the head's motion")
      ->type_name("NAME")
      ->one_of({"search", "mass-preserving"});
  command->add_flag("--no-motion", options->noMotion,
                    "Take the head not to have moved (mass-preserving estimate)");
  command->add_flag("--ic", options->intensityCorrection,
                    "Correct the intensities of both images during the full estimate\n"
                    "(default: off)");
  Option* ssd = command->add_flag("--ssd", options->ssd,
                                  "Full estimate by the sum of squared differences instead of NCC");
  command
      ->add_flag("--ncc", options->ncc,
                 "Full estimate by normalised cross-correlation (default; in measurements on\n"
                 "real data 0.55 voxels rms from the measured field, SSD 0.87)")
      ->excludes(ssd);
  command->add_flag("--fast", options->fast,
                    "Column-wise estimate only: much faster and coarser; --ic, --ssd and --ncc\n"
                    "have no effect on it (default: off)");
  command->add_flag("--save-derivative", options->pair.saveDerivative,
                    "Also write the maps' derivatives along the phase-encoding axis,\n"
                    "A_vdmderiv.map and B_vdmderiv.map (voxels per voxel)");
  command->add_flag("--apply", options->pair.applyToInput,
                    "Also correct all volumes of both projects, as A_undist and B_undist");
  command->callback([options, &program] {
    const bool search =
        options->intensityCorrection || options->ssd || options->ncc || options->fast;
    if (options->isMassPreserving() && search)
      refuseTogether("--estimator mass-preserving",
                     "--ic, --ssd, --ncc and --fast, which are of the search");
    if (options->noMotion && !options->isMassPreserving())
      refuseTogether("--no-motion", "the search, which knows no motion");
    program.action = [options, &program] { return runEstimate(*options, program.pluginFile); };
  });
}

}  // namespace mirel
