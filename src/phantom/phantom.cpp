#include "phantom/phantom.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "base/numbertext.h"
#include "phantom/field.h"
#include "phantom/gradientecho.h"
#include "phantom/random.h"

namespace mirel {

namespace {

constexpr double defaultPeakHz = 120.0;

constexpr double smallestVoxelMm = 0.001, largestVoxelMm = 1000;
// A project of the series is made in memory, in 32-bit floats.
constexpr double mostSamples = 2147483648.0;
constexpr double largestMotionMm = 1000, largestRotationDegrees = 360;

constexpr std::uint64_t apStream = 1, paStream = 2, seriesStream = 16;

void checkMotion(const RigidMotion& motion) {
  for (int axis = 0; axis < 3; ++axis)
    if (!(std::abs(motion.translationMm[axis]) <= largestMotionMm) ||
        !(std::abs(motion.rotationDegrees[axis]) <= largestRotationDegrees))
      throw std::invalid_argument(
          "the head moves by at most 1000 mm along and turns by at most 360 degrees about each "
          "axis");
}

void checkOptions(const PhantomOptions& options) {
  if (!(options.readoutSeconds > 0.0) || !(options.readoutSeconds <= 10.0))
    throw std::invalid_argument("the total readout time must be above 0 s and at most 10 s");
  if (!(options.noise >= 0.0) || !(options.noise <= 10.0))
    throw std::invalid_argument("the noise must be a fraction from 0 to 10 of the brain's mean");
  if (!(options.seriesEchoSeconds >= 0.0) || !(options.seriesEchoSeconds <= 1.0))
    throw std::invalid_argument("the echo time of the series must be from 0 to 1 s");
  if (options.volumes < 0)
    throw std::invalid_argument("a series of " + std::to_string(options.volumes) +
                                " volumes is not possible");
  const glm::dvec3 size(options.size);
  if (size.x * size.y * size.z * options.volumes > mostSamples)
    throw std::invalid_argument("a series of " + counted(options.volumes, "volume") +
                                " is too large: a phantom has at most 2^31 voxels in all");
  for (int axis = 0; axis < 3; ++axis)
    if (!(options.voxelMm[axis] >= smallestVoxelMm) || !(options.voxelMm[axis] <= largestVoxelMm))
      throw std::invalid_argument("a phantom's voxel size must be from 0.001 to 1000 mm");
  checkMotion(options.paMotion);
  checkMotion(options.seriesMotion);
  for (const RigidMotion& motion : options.volumeMotion) checkMotion(motion);
  if (options.volumeMotion.empty()) return;
  if (options.volumeMotion.size() != static_cast<std::size_t>(options.volumes))
    throw std::invalid_argument("a series of " + counted(options.volumes, "volume") + " has " +
                                counted(options.volumeMotion.size(), "motion") +
                                ": each volume takes one");
  if (!options.seriesMotion.isNone())
    throw std::invalid_argument("a series moves as a whole or volume by volume, not both");
}

// Of the head's density the part that is active: a smooth spot in the back on the right.
Volume<float> activeDensity(const Volume<float>& density) {
  Volume<float> active(density.dimensions());
  const glm::dvec3 size(density.dimensions());
  for (int z = 0; z < density.nz(); ++z)
    for (int y = 0; y < density.ny(); ++y)
      for (int x = 0; x < density.nx(); ++x) {
        const glm::dvec3 q = (glm::dvec3(x, y, z) + 0.5) / size - glm::dvec3(0.62, 0.27, 0.62);
        const double weight = std::exp(-(q.x * q.x + q.y * q.y + q.z * q.z) / (2 * 0.06 * 0.06));
        active.at(x, y, z) = static_cast<float>(density.at(x, y, z) * weight);
      }
  return active;
}

// What a series shows of a head that moved, or in gradient echoes.
struct SeriesSignals {
  Volume<float> truth, shift, rest, active;
};

SeriesSignals seriesSignals(const PhantomOptions& options, const PhantomGrid& grid,
                            const HeadField& field, const RigidMotion& motion) {
  const bool gradientEcho = options.seriesEchoSeconds > 0;
  HeadObject head = sampleHead(grid, options.seed, motion,
                               gradientEcho ? gradientEchoContrast : TissueContrast{});
  SeriesSignals signals;
  signals.truth = head.image;
  const Volume<float> hz = field.hz(motion);
  signals.shift = hz * -static_cast<float>(options.readoutSeconds);
  if (gradientEcho) dephase(head.density, hz, options.seriesEchoSeconds);
  constexpr int cells = HeadObject::cellsPerVoxel;
  signals.rest = distort(head.density, signals.shift, options.axis, cells);
  signals.active = distort(activeDensity(head.density), signals.shift, options.axis, cells);
  return signals;
}

void addSeries(Phantom& phantom, const PhantomGrid& grid, const HeadField& field) {
  SeriesSignals signals = seriesSignals(phantom.options, grid, field, phantom.options.seriesMotion);
  phantom.seriesTruth = std::move(signals.truth);
  phantom.seriesSignal = std::move(signals.rest);
  phantom.activitySignal = std::move(signals.active);
  if (!phantom.options.seriesMotion.isNone()) phantom.seriesShiftVoxels = std::move(signals.shift);
}

void addVolumes(Phantom& phantom, const PhantomGrid& grid, const HeadField& field) {
  for (const RigidMotion& motion : phantom.options.volumeMotion) {
    const SeriesSignals signals = seriesSignals(phantom.options, grid, field, motion);
    const int t = static_cast<int>(phantom.volumeSignals.size());
    phantom.volumeSignals.push_back(signals.rest + signals.active * seriesActivity(t));
  }
}

}  // namespace

Phantom makePhantom(const PhantomOptions& options) {
  checkOptions(options);
  const PhantomGrid grid{options.size, options.voxelMm};
  const HeadObject head = sampleHead(grid, options.seed);
  const FieldGoal goal{options.readoutSeconds, wantedShiftVoxels(options),
                       options.allowFolds ? std::numeric_limits<double>::infinity() : steepestShift,
                       options.axis};
  const HeadField field = makeHeadField(grid, head, options.seed, goal);

  Phantom phantom;
  phantom.options = options;
  phantom.truth = head.image;
  phantom.headMask = head.headMask;
  phantom.brainMask = head.brainMask;
  phantom.fieldSmoothingMm = field.smoothingMm();
  phantom.fieldHz = field.hz();
  const float readout = static_cast<float>(options.readoutSeconds);
  phantom.shiftVoxels = phantom.fieldHz * -readout;
  phantom.noiseSigma = options.noise * meanInMask(phantom.truth, phantom.brainMask);

  constexpr int cells = HeadObject::cellsPerVoxel;
  phantom.apSignal = distort(head.density, phantom.shiftVoxels, options.axis, cells);
  if (options.seriesMotion.isNone() && options.seriesEchoSeconds == 0)
    phantom.activitySignal =
        distort(activeDensity(head.density), phantom.shiftVoxels, options.axis, cells);
  else
    addSeries(phantom, grid, field);
  addVolumes(phantom, grid, field);
  if (options.paMotion.isNone()) {
    phantom.paSignal = distort(head.density, -phantom.shiftVoxels, options.axis, cells);
  } else {
    const HeadObject moved = sampleHead(grid, options.seed, options.paMotion);
    phantom.paTruth = moved.image;
    phantom.paShiftVoxels = field.hz(options.paMotion) * -readout;
    phantom.paSignal = distort(moved.density, -phantom.paShiftVoxels, options.axis, cells);
  }
  phantom.ap = addRicianNoise(phantom.apSignal, phantom.noiseSigma, options.seed, apStream);
  phantom.pa = addRicianNoise(phantom.paSignal, phantom.noiseSigma, options.seed, paStream);
  return phantom;
}

Volume<float> Phantom::seriesVolume(int t) const {
  if (t < 0 || t >= options.volumes)
    throw std::out_of_range("the series has no volume " + std::to_string(t));
  const Volume<float>& rest = seriesSignal.size() > 0 ? seriesSignal : apSignal;
  const Volume<float> signal =
      (volumeSignals.empty() ? rest + activitySignal * seriesActivity(t)
                             : volumeSignals[static_cast<std::size_t>(t)]) *
      seriesDrift(t);
  return addRicianNoise(signal, noiseSigma, options.seed,
                        seriesStream + static_cast<std::uint64_t>(t));
}

void checkPhantomOptions(const PhantomOptions& options) { checkOptions(options); }

double wantedShiftVoxels(const PhantomOptions& options) {
  return options.maxShiftVoxels.value_or(defaultPeakHz * options.readoutSeconds);
}

Volume<float> activeRegion(const Volume<float>& density) { return activeDensity(density); }

float seriesDrift(int t) { return 1.0F + 0.001F * static_cast<float>(t); }

float seriesActivity(int t) { return t / 4 % 2 == 1 ? 0.02F : 0.0F; }

Volume<float> addRicianNoise(const Volume<float>& signal, double sigma, std::uint64_t seed,
                             std::uint64_t stream) {
  if (sigma == 0.0) return signal;
  const RandomStream random(seed, stream);
  Volume<float> noisy(signal.dimensions());
  for (int i = 0; i < signal.size(); ++i) {
    const RandomStream::Pair n = random.normalPair(static_cast<std::uint64_t>(i));
    noisy.data()[i] =
        static_cast<float>(std::hypot(signal.data()[i] + sigma * n.first, sigma * n.second));
  }
  return noisy;
}

double meanInMask(const Volume<float>& image, const Volume<unsigned char>& mask) {
  double sum = 0.0;
  long long count = 0;
  for (int i = 0; i < image.size(); ++i)
    if (mask.data()[i]) {
      sum += image.data()[i];
      ++count;
    }
  return count > 0 ? sum / static_cast<double>(count) : 0.0;
}

}  // namespace mirel
