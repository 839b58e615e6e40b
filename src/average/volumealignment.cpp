#include "average/volumealignment.h"

#include <algorithm>
#include <cmath>

#include "field/beforemotion.h"
#include "nifti/orientation.h"
#include "numerics/splitmix.h"

namespace mirel {

namespace {

// As for series that are corrected.
constexpr std::size_t fewestSamples = 1000;
constexpr double leastDisplacementVoxels = 1.0 / 16, leastStandardErrors = 4;
constexpr double largestStandardErrorMm = 1, farthestMm = 40, leastCovered = 0.3;

// What interpolation from one grid to another leaves of the variance of noise.
double noiseLeftOf(const Grid& target, const Grid& source, const Volume<float>& covered) {
  Volume<float> noise(source.dims);
  for (int i = 0; i < noise.size(); ++i)
    noise.data()[i] = static_cast<float>(
        static_cast<double>(splitMix64(static_cast<std::uint64_t>(i)) >> 11) * 0x1p-53 - 0.5);
  const Volume<float> there =
      resampleTo(target, noise, source.affine, "noise", Interpolation::cubic);
  double squares = 0, count = 0;
  for (int i = 0; i < there.size(); ++i) {
    if (covered.data()[i] == 0) continue;
    squares += static_cast<double>(there.data()[i]) * static_cast<double>(there.data()[i]);
    ++count;
  }
  return count > 0 ? 12 * squares / count : 1.0;
}

bool isCredible(const AlignmentFit& fit) {
  const glm::dvec3& t = fit.motion.translationMm;
  return std::max({std::abs(t.x), std::abs(t.y), std::abs(t.z)}) < farthestMm &&
         fit.covered >= leastCovered;
}

// The motion, if it is one.
void findMotion(const RigidAligner& aligner, const PlacedImage& image, VolumeAlignment& found) {
  if (aligner.sampleCount() < fewestSamples) return;
  const AlignmentFit fit = aligner.align(image, {}, AlignmentRange::wide);
  found.displacementMm = aligner.distanceMm(fit.motion, {});
  const glm::dvec3 edges = nifti::columnLengths(image.affine);
  if (found.displacementMm < leastDisplacementVoxels * std::max({edges.x, edges.y, edges.z}) ||
      !isCredible(fit))
    return;
  const double error = aligner.standardErrorMm(image, fit.motion);
  found.moved =
      error < largestStandardErrorMm && found.displacementMm > leastStandardErrors * error;
  if (found.moved) found.motion = fit.motion;
}

}  // namespace

VolumeAlignment alignVolume(const RigidAligner& aligner, const Grid& target,
                            const PlacedImage& image) {
  VolumeAlignment found;
  findMotion(aligner, image, found);
  const Grid grid{image.values.dimensions(), image.affine};
  if (!found.moved && coincide(grid, target)) {
    found.volume.image = image.values;
    return found;
  }
  const Grid source = beforeMotion(grid, found.motion, aligner.centreMm());
  found.volume.covered = coverage(target, source, image.name);
  found.volume.image =
      resampleTo(target, image.values, source.affine, image.name, Interpolation::cubic);
  found.volume.noiseLeft = noiseLeftOf(target, source, found.volume.covered);
  return found;
}

}  // namespace mirel
