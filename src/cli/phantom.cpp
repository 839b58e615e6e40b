#include "phantom/phantom.h"

#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>

#include "base/error.h"
#include "base/numbertext.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "cli/phantomdataset.h"
#include "motion/numberrows.h"
#include "phantom/phantomfiles.h"

namespace mirel {

namespace {

constexpr const char* phantomDescription =
    "Make a pair of distorted images, and a short series, of a simulated head whose true\n"
    "displacements are known.\n"
    "\n"
    "Written into DIR as NIfTI with BIDS sidecars and as projects: the pair (dir-AP, dir-PA), a\n"
    "series (bold), the undistorted image, the true displacement in voxels, the field in Hz and\n"
    "masks of brain and head. Older files of the same names are replaced. Equal options make\n"
    "equal files.\n"
    "\n"
    "With --bids, DIR becomes a BIDS dataset of several subjects, with the truth in\n"
    "derivatives/truth. An earlier one is replaced, a folder that holds anything else refused.\n";

struct PhantomCommandOptions {
  std::string folder;
  PhantomOptions phantom;
  std::vector<int> size;
  std::vector<double> voxelMm;
  std::vector<double> motion, seriesMotion;
  std::string volumeMotion;
  std::string direction = "j";
  double maxShift = 0.0;
  DatasetRequest dataset;
};

// How far the map reaches in the head, in voxels.
std::pair<float, float> shiftRange(const Phantom& phantom) {
  float low = 0.0F, high = 0.0F;
  for (int i = 0; i < phantom.shiftVoxels.size(); ++i)
    if (phantom.headMask.data()[i]) {
      low = std::min(low, phantom.shiftVoxels.data()[i]);
      high = std::max(high, phantom.shiftVoxels.data()[i]);
    }
  return {low, high};
}

RigidMotion motionOf(const std::vector<double>& numbers) {
  return {{numbers[0], numbers[1], numbers[2]}, {numbers[3], numbers[4], numbers[5]}};
}

// Rows of six numbers, one for each volume.
std::vector<RigidMotion> motionsIn(const std::string& file) {
  std::vector<RigidMotion> motions;
  for (const std::vector<double>& row : numbersOf(readTransformWords(file), file)) {
    if (row.size() != 6)
      throw Error(file, "has " + counted(row.size(), "number") +
                            " in a row, not the six of a motion (TX TY TZ RX RY RZ)");
    motions.push_back(motionOf(row));
  }
  return motions;
}

int runPhantom(PhantomCommandOptions options, bool maxShiftGiven) {
  const EndBySignal end({options.folder});
  PhantomOptions& phantomOptions = options.phantom;
  if (options.dataset.asked) takeDatasetDefaults(phantomOptions);
  if (!options.size.empty())
    phantomOptions.size = {options.size[0], options.size[1], options.size[2]};
  if (options.voxelMm.size() == 2) throw Error("--voxel takes one size or three");
  if (options.voxelMm.size() == 1) phantomOptions.voxelMm = glm::dvec3(options.voxelMm[0]);
  if (options.voxelMm.size() == 3)
    phantomOptions.voxelMm = {options.voxelMm[0], options.voxelMm[1], options.voxelMm[2]};
  if (!options.motion.empty()) phantomOptions.paMotion = motionOf(options.motion);
  if (!options.seriesMotion.empty()) phantomOptions.seriesMotion = motionOf(options.seriesMotion);
  if (!options.volumeMotion.empty()) phantomOptions.volumeMotion = motionsIn(options.volumeMotion);
  phantomOptions.axis = options.direction == "i" ? PhaseEncodingAxis::x : PhaseEncodingAxis::y;
  if (maxShiftGiven) phantomOptions.maxShiftVoxels = options.maxShift;
  if (options.dataset.asked)
    return runPhantomDataset(options.dataset, phantomOptions, options.folder);

  const Phantom phantom = makePhantom(phantomOptions);
  const std::vector<std::string> files = writePhantom(phantom, options.folder);
  for (const std::string& file : files) std::cout << file << "\n";
  const auto [low, high] = shiftRange(phantom);
  char text[160];
  std::snprintf(text, sizeof text, "Displacements in the head: %.2f to %.2f voxels.\n",
                static_cast<double>(low), static_cast<double>(high));
  std::cerr << text;
  return exitSuccess;
}

void addPhantomOptions(Command* command, PhantomCommandOptions& options, const Option* bids) {
  command
      ->add_option("--size", options.size,
                   "Voxels along x, y and z (default: 90 104 60; --bids: 32 36 20)")
      ->type_name("NX NY NZ")
      ->expected(3);
  command
      ->add_option("--voxel", options.voxelMm,
                   "Voxel size in mm, one for all axes or three (default: 2.4; --bids: 7)")
      ->type_name("MM")
      ->expected(1, 3);
  command
      ->add_option("--direction", options.direction,
                   "Phase encoding along y (j: a pair AP, PA) or x (i: RL, LR)")
      ->type_name("j|i")
      ->one_of({"j", "i"})
      ->capture_default_str()
      ->excludes(bids);
  command
      ->add_option("--noise", options.phantom.noise,
                   "Standard deviation of the noise, as a fraction of the brain's mean signal")
      ->type_name("F")
      ->capture_default_str();
  command
      ->add_option("--volumes", options.phantom.volumes,
                   "Volumes of the series, 2 s apart; 0 for no series")
      ->type_name("N")
      ->capture_default_str();
  command->add_option("--seed", options.phantom.seed, "Seed of the noise and of the folds")
      ->type_name("N")
      ->capture_default_str();
}

}  // namespace

void addPhantomCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("phantom", phantomDescription);
  const auto options = std::make_shared<PhantomCommandOptions>();
  command->add_option("DIR", options->folder, "The folder to write to; made if need be")
      ->type_name("")
      ->required();
  const Option* bids = addDatasetOptions(*command, options->dataset);
  addPhantomOptions(command, *options, bids);
  command
      ->add_option("--readout", options->phantom.readoutSeconds,
                   "Total readout time in s; displacement in voxels = field in Hz * readout time")
      ->type_name("S")
      ->capture_default_str();
  Option* maxShift =
      command
          ->add_option("--max-shift", options->maxShift,
                       "Largest displacement in the head in voxels (default: that of 120 Hz, which "
                       "is 6 voxels\nat 0.05 s; --bids: 2.5); smaller where the image would fold")
          ->type_name("V");
  command->add_flag("--allow-folds", options->phantom.allowFolds,
                    "Let the displacement fold the image, and reach outside of it");
  command
      ->add_option("--motion", options->motion,
                   "Motion of the head before the second image: translation in mm and rotation in\n"
                   "degrees about the x, y and z axis (default: none)")
      ->type_name("TX TY TZ RX RY RZ")
      ->expected(6)
      ->excludes(bids);
  command
      ->add_option("--series-motion", options->seriesMotion,
                   "The same before the series was taken (default: none)")
      ->type_name("TX TY TZ RX RY RZ")
      ->expected(6)
      ->excludes(bids);
  command
      ->add_option("--volume-motion", options->volumeMotion,
                   "A text file with a row of such six numbers for each volume of the series: the\n"
                   "head moves within it (default: it keeps still)")
      ->type_name("FILE")
      ->excludes(bids);
  command
      ->add_option(
          "--series-echo", options->phantom.seriesEchoSeconds,
          "Take the series with gradient echoes of this echo time in s: of another\n"
          "contrast than the pair, and with signal lost where the field changes (default:\n"
          "the contrast of the pair)")
      ->type_name("S")
      ->excludes(bids);
  command->callback([options, maxShift, &program] {
    program.action = [options, given = maxShift->count() > 0] {
      return runPhantom(*options, given);
    };
  });
}

}  // namespace mirel
