#include "accuracy/simulated.h"
#include "accuracy/spoiledpairs.h"
#include "pair/foreground.h"
#include "phantom/phantom.h"

namespace mirel {

SpoilableHead measuredHead(const std::string& folder, double maxShift, std::uint64_t seed) {
  const Placed field = readPlaced(folder + "/derived/sub-01_fieldmap_Hz.nii.gz");
  const Placed magnitude = readPlaced(folder + "/fmap/sub-01_magnitude1.nii.gz");
  const Placed inside = readPlaced(folder + "/derived/sub-01_approx_brainmask.nii.gz");
  const Volume<float> hz = resampledTo(magnitude, field);
  SpoilableHead head;
  head.brain = maskAbove(resampledTo(magnitude, inside), 0.5);
  head.shiftVoxels =
      foldFreeShift(magnitude.image, hz, headThreshold(magnitude.image), maxShift, head.brain)
          .shiftVoxels;
  head.density = inCells(magnitude.image);
  // Scaled alike, so that the fields agree where the smoothing changes little.
  double both = 0.0, own = 0.0;
  for (int i = 0; i < hz.size(); ++i)
    if (head.brain.data()[i] != 0) {
      both += static_cast<double>(hz.data()[i]) * head.shiftVoxels.data()[i];
      own += static_cast<double>(hz.data()[i]) * hz.data()[i];
    }
  head.foldedShift = hz * static_cast<float>(both / own);
  head.brainMean = meanInMask(magnitude.image, head.brain);
  head.voxelMm = {glm::length(glm::dvec3(magnitude.affine[0])),
                  glm::length(glm::dvec3(magnitude.affine[1])),
                  glm::length(glm::dvec3(magnitude.affine[2]))};
  head.seed = seed;
  return head;
}

}  // namespace mirel
