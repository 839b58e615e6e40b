#include "cli/phantomdataset.h"

#include <iostream>

#include "phantom/phantomdataset.h"

namespace mirel {

const Option* addDatasetOptions(Command& command, DatasetRequest& request) {
  const Option* bids = command.add_flag(
      "--bids", request.asked,
      "Make DIR a BIDS dataset: pairs, series and diffusion-weighted images of several\n"
      "subjects, with all ways of linking them, both axes and different readout times");
  command.add_option("--subjects", request.subjects, "Subjects of the dataset")
      ->type_name("N")
      ->in_range(1, 9999)
      ->capture_default_str()
      ->needs(bids);
  command
      .add_option("--sessions", request.sessions,
                  "Sessions of each subject; 0 for one without a folder of its own")
      ->type_name("M")
      ->in_range(0, 99)
      ->capture_default_str()
      ->needs(bids);
  return bids;
}

void takeDatasetDefaults(PhantomOptions& options) {
  const PhantomOptions small = PhantomDatasetOptions().image;
  options.size = small.size;
  options.voxelMm = small.voxelMm;
  options.maxShiftVoxels = small.maxShiftVoxels;
}

int runPhantomDataset(const DatasetRequest& request, const PhantomOptions& image,
                      const std::string& folder) {
  PhantomDatasetOptions options;
  options.subjects = request.subjects;
  options.sessions = request.sessions;
  options.image = image;
  options.programVersion = MIREL_VERSION;
  writePhantomDataset(options, folder);
  std::cout << folder << "\n";
  std::cerr << "Subjects: " << request.subjects << "; its README says what each is.\n";
  return exitSuccess;
}

}  // namespace mirel
