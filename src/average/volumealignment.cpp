#include "average/volumealignment.h"

#include "field/beforemotion.h"
#include "field/foundmotion.h"
#include "numerics/splitmix.h"

namespace mirel {

namespace {

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

// The motion, if it is one.
void findMotion(const RigidAligner& aligner, const PlacedImage& image, VolumeAlignment& found) {
  if (!aligner.canCompare()) return;
  const AlignmentFit fit = aligner.align(image, {}, AlignmentRange::wide);
  const FoundMotion judged = judgedMotion(aligner, image, fit);
  found.displacementMm = judged.displacementMm;
  found.moved = judged.outcome == FoundMotion::Outcome::moved;
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
