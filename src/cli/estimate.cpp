#include "tasks/estimate.h"

#include <memory>

#include "base/error.h"
#include "cli/command.h"
#include "host/outputs.h"
#include "host/session.h"
#include "host/task.h"
#include "hostapi/cnztlog.h"
#include "hostapi/ztaccess.h"
#include "masspreserving/masspreserving.h"
#include "numerics/fft/fftw.h"

namespace mirel {

namespace {

constexpr const char* description =
    "Estimate the displacement maps of two projects with opposite phase encoding.\n"
    "\n"
    "Writes A_vdm.map and B_vdm.map beside the projects: the shift of every voxel along the\n"
    "phase-encoding axis, in voxels. B's map is A's negated. Prints the names of the files\n"
    "written. Without options: the full estimate from the first volume of each project, with\n"
    "NCC, for phase encoding along y. --estimator mass-preserving takes the method of\n"
    "'mirel correct' instead of the plugin's.\n";

struct Options {
  std::string files[2];
  int volumes[2] = {0, 0};
  bool rllr = false;
  bool intensityCorrection = false;
  bool ssd = false;
  bool ncc = false;
  bool fast = false;
  bool saveDerivative = false;
  bool apply = false;
  std::string estimator;
  bool noMotion = false;

  bool isMassPreserving() const { return estimator == "mass-preserving"; }
};

/// The parser's own check of this kind prints the largest double as the upper limit.
std::string refuseNegative(const std::string& text) {
  return text.starts_with("-") ? "volumes are counted from 0, but " + text + " is given" : "";
}

ExpectedOutputs expectedOutputs(const Options& options) {
  ExpectedOutputs outputs;
  for (const std::string& file : options.files) outputs.add(vdm_filename(file));
  if (options.saveDerivative)
    for (const std::string& file : options.files) outputs.add(vdmderiv_filename(file));
  if (!options.apply) return outputs;
  for (const std::string& file : options.files) {
    outputs.add(correctedProjectName(file));
    outputs.add(correctedDataName(file));
  }
  return outputs;
}

void setParameters(const Options& options, ParameterStore& parameters) {
  parameters.setText("file0", options.files[0]);
  parameters.setText("file1", options.files[1]);
  parameters.setInt("volume0", options.volumes[0]);
  parameters.setInt("volume1", options.volumes[1]);
  parameters.setInt("rllr", options.rllr);
  parameters.setInt("use_ic", options.intensityCorrection);
  parameters.setInt("use_ssd", options.ssd);
  parameters.setInt("fast_algorithm", options.fast);
  parameters.setInt("save_derivative", options.saveDerivative);
  parameters.setInt("apply_to_input", options.apply);
}

void tellMotion(const RigidMotion& motion, bool rllr, std::ostream& log) {
  if (motion.isNone()) {
    log << "No motion of the head between the images." << std::flush;
    return;
  }
  const RigidMotion found = rllr ? motion.withExchanged(0, 1) : motion;
  const glm::dvec3 t = found.translationMm, r = found.rotationDegrees;
  char text[200];
  std::snprintf(text, sizeof text,
                "Motion of the head between the images: %.2f, %.2f, %.2f mm along and %.2f, %.2f, "
                "%.2f degrees about x, y, z.",
                t.x, t.y, t.z, r.x, r.y, r.z);
  log << text << std::flush;
}

// The search has a use even so.
void refuseMissingVoxelSize(const ProjectInfo& project) {
  if (!voxelSizeWarnings(project).empty())
    throw Error(project.fileName +
                ": the header gives no voxel size, which the mass-preserving estimate needs");
}

// The estimate task with the program's own method, on the same maps and projects.
bool runMassPreserving(const Options& options) {
  if (!InitZTAccess()) throw Error("the program does not export its functions");
  bindEngine();
  CNZTLog log(host::ztLogText);
  const PairEstimator estimator = [&](const Volume<float>& first, const Volume<float>& second,
                                      const glm::dvec3& voxelMm, std::ostream& text) {
    MassPreservingOptions wanted;
    wanted.estimateMotion = !options.noMotion;
    MassPreservingResult found = estimateMassPreserving(first, second, voxelMm, wanted);
    if (!options.noMotion) tellMotion(found.motion, options.rllr, text);
    return std::move(found.shiftVoxels);
  };
  try {
    estimateFiles(log, estimator);
  } catch (const std::exception& failure) {
    hostSession().console.messageBox(std::string("Error: ") + failure.what());
    return false;
  }
  return true;
}

int runEstimate(const Options& options, const std::string& pluginFile) {
  for (const std::string& file : options.files) refuseImpossibleName(file);
  const std::vector<ProjectInfo> projects = {readProjectInfo(options.files[0]),
                                             readProjectInfo(options.files[1])};
  refuseSharedMaps(options.files[0], options.files[1]);
  if (options.apply) refuseOverwrittenInputs(projects);
  refuseOtherDimensions(projects[1], projects[0].dimensionText(), projects[0].fileName);
  if (options.isMassPreserving()) refuseMissingVoxelSize(projects[0]);
  const ExpectedOutputs outputs = expectedOutputs(options);
  HostSession& session = hostSession();
  for (const std::string& warning : voxelSizeWarnings(projects[0])) session.console.warn(warning);
  for (const ProjectInfo& project : projects)
    for (const std::string& warning : dataFileWarnings(project)) session.console.warn(warning);

  setParameters(options, session.parameters);
  session.maps.setCurrentDimensions(projects[0].dimX, projects[0].dimY, projects[0].dimZ);
  if (options.isMassPreserving()) {
    if (!runMassPreserving(options)) return exitFailure;
  } else {
    Plugin plugin(findPlugin(pluginFile));
    if (!runTask(plugin, "estimate")) return exitFailure;
  }
  return reportOutputs(outputs) ? exitSuccess : exitFailure;
}

}  // namespace

void addEstimateCommand(CLI::App& app, Program& program) {
  CLI::App* command = app.add_subcommand("estimate", description);
  const auto options = std::make_shared<Options>();
  command->add_option("A", options->files[0], "First project (.fmr or .dmr)")
      ->type_name("")
      ->required();
  command->add_option("B", options->files[1], "Second project, of the same dimensions as A")
      ->type_name("")
      ->required();
  command
      ->add_option("--volume0", options->volumes[0],
                   "Volume of A to use, counted from 0 (default: 0, the first)")
      ->type_name("N")
      ->check(refuseNegative);
  command
      ->add_option("--volume1", options->volumes[1],
                   "Volume of B to use, counted from 0 (default: 0, the first)")
      ->type_name("N")
      ->check(refuseNegative);
  command->add_flag("--rllr", options->rllr,
                    "Phase encoding runs along x, right-left (default: along y)");
  command
      ->add_option("--estimator", options->estimator,
                   "Method of the estimate: search (default), the plugin's, or mass-preserving,\n"
                   "which models the signal that piles up or thins out, and the head's motion")
      ->type_name("NAME")
      ->check(CLI::IsMember({"search", "mass-preserving"}));
  command->add_flag("--no-motion", options->noMotion,
                    "Take the head not to have moved (mass-preserving estimate)");
  command->add_flag("--ic", options->intensityCorrection,
                    "Correct the intensities of both images during the full estimate\n"
                    "(default: off)");
  CLI::Option* ssd = command->add_flag(
      "--ssd", options->ssd, "Full estimate by the sum of squared differences instead of NCC");
  command
      ->add_flag("--ncc", options->ncc,
                 "Full estimate by normalised cross-correlation (default; in measurements on\n"
                 "real data 0.55 voxels rms from the measured field, SSD 0.87)")
      ->excludes(ssd);
  command->add_flag("--fast", options->fast,
                    "Column-wise estimate only: much faster and coarser; --ic, --ssd and --ncc\n"
                    "have no effect on it (default: off)");
  command->add_flag("--save-derivative", options->saveDerivative,
                    "Also write the maps' derivatives along the phase-encoding axis,\n"
                    "A_vdmderiv.map and B_vdmderiv.map (voxels per voxel)");
  command->add_flag("--apply", options->apply,
                    "Also correct all volumes of both projects, as A_undist and B_undist");
  command->callback([options, &program] {
    const bool search =
        options->intensityCorrection || options->ssd || options->ncc || options->fast;
    if (options->isMassPreserving() && search)
      throw CLI::ExcludesError("--estimator mass-preserving",
                               "--ic, --ssd, --ncc and --fast, which are of the search");
    if (options->noMotion && !options->isMassPreserving())
      throw CLI::ExcludesError("--no-motion", "the search, which knows no motion");
    program.action = [options, &program] { return runEstimate(*options, program.pluginFile); };
  });
}

}  // namespace mirel
