#include "accuracy/spoiledpairs.h"

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>
#include <limits>
#include <numbers>

#include "accuracy/simulated.h"
#include "phantom/distort.h"
#include "phantom/field.h"
#include "phantom/object.h"
#include "phantom/phantom.h"
#include "phantom/random.h"

namespace mirel {

namespace {

constexpr int cells = SpoilableHead::cells;
constexpr double ordinaryNoise = 0.03;

// Applied to a density or an image at a place in units of the field of view, -1 to 1.
using Factor = std::function<double(glm::dvec3)>;

Volume<float> times(const Volume<float>& image, const Factor& factor) {
  Volume<float> result(image.dimensions());
  const glm::dvec3 size(image.dimensions());
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x) {
        const glm::dvec3 unit = 2.0 * (glm::dvec3(x, y, z) + 0.5) / size - 1.0;
        result.at(x, y, z) = static_cast<float>(factor(unit) * image.at(x, y, z));
      }
  return result;
}

Volume<float> image(const Volume<float>& density, const Volume<float>& shift) {
  return distort(density, shift, PhaseEncodingAxis::y, cells);
}

// Rician noise whose deviation is `relative` of the brain's mean times a factor of the place.
Volume<float> noisy(const SpoilableHead& head, const Volume<float>& signal, double relative,
                    std::uint64_t stream, const Factor& local = {}) {
  const double sigma = relative * head.brainMean;
  if (!local) return addRicianNoise(signal, sigma, head.seed, stream);
  Volume<float> result(signal.dimensions()), ones(signal.dimensions(), 1.0F);
  const Volume<float> factor = times(ones, local);
  const Volume<float> scaled = addRicianNoise(signal / factor, sigma, head.seed, stream);
  return scaled * factor;
}

// Along x and y, wrapped round; `taps` are those of one side from the middle on.
Volume<float> filtered(const Volume<float>& image, const std::vector<double>& taps) {
  Volume<float> result = image;
  for (const int axis : {0, 1}) {
    const Volume<float> source = result;
    const int length = image.dimensions()[axis];
    for (int z = 0; z < image.nz(); ++z)
      for (int y = 0; y < image.ny(); ++y)
        for (int x = 0; x < image.nx(); ++x) {
          double sum = taps[0] * source.at(x, y, z);
          for (int k = 1; k < static_cast<int>(taps.size()); ++k)
            for (const int step : {k, length - k}) {
              glm::ivec3 at(x, y, z);
              at[axis] = (at[axis] + step) % length;
              sum += taps[k] * source.at(at.x, at.y, at.z);
            }
          result.at(x, y, z) = static_cast<float>(sum);
        }
  }
  return result;
}

// Rician noise of the same deviation whose neighbours in plane are alike.
Volume<float> smoothlyNoisy(const SpoilableHead& head, const Volume<float>& signal, double relative,
                            std::uint64_t stream, std::vector<double> taps) {
  double squares = taps[0] * taps[0];
  for (std::size_t k = 1; k < taps.size(); ++k) squares += 2.0 * taps[k] * taps[k];
  for (double& tap : taps) tap /= std::sqrt(squares);
  const RandomStream random(head.seed, stream);
  Volume<float> real(signal.dimensions()), imaginary(signal.dimensions());
  for (int i = 0; i < signal.size(); ++i) {
    const RandomStream::Pair n = random.normalPair(static_cast<std::uint64_t>(i));
    real.data()[i] = static_cast<float>(n.first);
    imaginary.data()[i] = static_cast<float>(n.second);
  }
  const float sigma = static_cast<float>(relative * head.brainMean);
  real = filtered(real, taps) * sigma;
  imaginary = filtered(imaginary, taps) * sigma;
  for (int i = 0; i < signal.size(); ++i)
    real.data()[i] = std::hypot(signal.data()[i] + real.data()[i], imaginary.data()[i]);
  return real;
}

SpoiledPair pairOf(const SpoilableHead& head, const Volume<float>& first,
                   const Volume<float>& second, double noise = ordinaryNoise,
                   const Factor& local = {}) {
  return {noisy(head, first, noise, 1, local),
          noisy(head, second, noise, 2, local),
          head.shiftVoxels,
          eroded(head.brain, 1),
          {}};
}

Volume<float> firstOf(const SpoilableHead& head) { return image(head.density, head.shiftVoxels); }
Volume<float> secondOf(const SpoilableHead& head) { return image(head.density, -head.shiftVoxels); }

Spoiling withNoise(const char* name, double noise) {
  return {name, false,
          [noise](const SpoilableHead& head) {
            return pairOf(head, firstOf(head), secondOf(head), noise);
          },
          /*modelHolds=*/true};
}

Spoiling larger(const char* name, float factor) {
  return {name, false,
          [factor](const SpoilableHead& given) {
            SpoilableHead head = given;
            head.shiftVoxels *= factor;
            // The continuation beyond the head may not fold either, nor the head.
            float steepest = 0.0F;
            const Volume<float> slope = shiftDerivative(head.shiftVoxels, PhaseEncodingAxis::y);
            steepest = std::max(slope.max(), -slope.min());
            if (steepest > 0.85F) head.shiftVoxels *= 0.85F / steepest;
            return pairOf(head, firstOf(head), secondOf(head));
          },
          /*modelHolds=*/true};
}

enum class Course { along, across, middle };

double courseOf(Course course, glm::dvec3 u) {
  switch (course) {
    case Course::along:
      return std::sin(0.5 * std::numbers::pi * u.y);
    case Course::across:
      return std::sin(0.5 * std::numbers::pi * (u.x + u.z) / 1.5);
    case Course::middle:
      return 1.0 - 2.0 * std::min(glm::dot(u, u), 1.0);
  }
  return 0.0;
}

Spoiling shaded(const char* name, double depth, Course course) {
  return {name, false, [depth, course](const SpoilableHead& head) {
            return pairOf(head,
                          times(firstOf(head),
                                [&](glm::dvec3 u) { return 1.0 + depth * courseOf(course, u); }),
                          secondOf(head));
          }};
}

Spoiling contrast(const char* name, float csf, float grey, float white) {
  return {name, true, [=](const SpoilableHead& head) {
            return pairOf(head, image(head.withContrast(csf, grey, white), head.shiftVoxels),
                          secondOf(head));
          }};
}

// 0 outside a ball low in the front of the head and 1 inside, over a rim of some mm.
double inRegion(const SpoilableHead& head, glm::dvec3 u) {
  const glm::dvec3 fov = head.voxelMm * glm::dvec3(head.shiftVoxels.dimensions());
  const glm::dvec3 mm = 0.5 * (u - glm::dvec3(0.15, 0.40, -0.15)) * fov;
  return 1.0 / (1.0 + std::exp((glm::length(mm) - 16.0) / 1.5));
}

Spoiling lostSignal(const char* name, double left) {
  return {name, false, [left](const SpoilableHead& head) {
            const auto inside = [&](glm::dvec3 u) { return inRegion(head, u); };
            const Volume<float> first =
                times(head.density, [&](glm::dvec3 u) { return 1.0 - (1.0 - left) * inside(u); });
            SpoiledPair pair = pairOf(head, image(first, head.shiftVoxels), secondOf(head));
            pair.spoiled =
                maskAbove(times(Volume<float>(pair.first.dimensions(), 1.0F), inside), 0.1);
            for (int i = 0; i < pair.scored.size(); ++i) {
              pair.spoiled.data()[i] &= pair.scored.data()[i];
              if (pair.spoiled.data()[i] != 0) pair.scored.data()[i] = 0;
            }
            return pair;
          }};
}

int foldedSlices(const SpoilableHead& head) { return head.shiftVoxels.nz() / 5; }

// Scored above the slices that fold.
Mask above(const Mask& mask, int slices) {
  Mask result = mask;
  for (int z = 0; z < slices; ++z)
    for (int y = 0; y < mask.ny(); ++y)
      for (int x = 0; x < mask.nx(); ++x) result.at(x, y, z) = 0;
  return result;
}

SpoiledPair folded(const SpoilableHead& given) {
  SpoilableHead head = given;
  const int slices = foldedSlices(head);
  for (int z = 0; z < slices; ++z)
    for (int y = 0; y < head.shiftVoxels.ny(); ++y)
      for (int x = 0; x < head.shiftVoxels.nx(); ++x)
        head.shiftVoxels.at(x, y, z) = head.foldedShift.at(x, y, z);
  SpoiledPair pair = pairOf(head, firstOf(head), secondOf(head));
  pair.scored = above(pair.scored, slices);
  return pair;
}

Volume<float> cut(const Volume<float>& image, int slices) {
  Volume<float> result(image.nx(), image.ny(), image.nz() - slices);
  std::copy_n(image.data() + image.index(0, 0, slices), result.size(), result.data());
  return result;
}

SpoiledPair cutOff(const SpoilableHead& head) {
  const int slices = foldedSlices(head);
  const SpoiledPair whole = folded(head);
  SpoiledPair pair{cut(whole.first, slices),
                   cut(whole.second, slices),
                   cut(whole.shiftVoxels, slices),
                   Mask(cut(whole.first, slices).dimensions()),
                   {}};
  std::copy_n(whole.scored.data() + whole.scored.index(0, 0, slices), pair.scored.size(),
              pair.scored.data());
  return pair;
}

// From 1 at the border to 3 in the middle.
double rising(glm::dvec3 u) { return 1.0 + 2.0 * std::exp(-2.0 * glm::dot(u, u)); }

Spoiling risingNoise() {
  return {"noise growing to the middle by 3", false, [](const SpoilableHead& head) {
            return pairOf(head, firstOf(head), secondOf(head), 0.02, rising);
          }};
}

// The root mean square over the brain of the noise of the row above.
Spoiling meanNoise() {
  return {"the same mean noise everywhere", false,
          [](const SpoilableHead& head) {
            const Volume<float> factor =
                times(Volume<float>(head.shiftVoxels.dimensions(), 1.0F), rising);
            double sum = 0.0;
            for (int i = 0; i < factor.size(); ++i)
              if (head.brain.data()[i] != 0)
                sum += static_cast<double>(factor.data()[i]) * factor.data()[i];
            const double mean = std::sqrt(sum / count(head.brain));
            return pairOf(head, firstOf(head), secondOf(head), 0.02 * mean);
          },
          /*modelHolds=*/true};
}

// What a matrix of three quarters that was filled up with zeros leaves of white noise.
std::vector<double> zeroFilled() {
  constexpr double share = 0.75;
  std::vector<double> taps{share};
  for (int k = 1; k <= 12; ++k)
    taps.push_back(std::sin(std::numbers::pi * share * k) / (std::numbers::pi * k));
  return taps;
}

Spoiling smoothNoise(const char* name, double noise, const std::vector<double>& taps) {
  return {name, false, [noise, taps](const SpoilableHead& head) {
            SpoiledPair pair = pairOf(head, firstOf(head), secondOf(head), 0.0);
            pair.first = smoothlyNoisy(head, pair.first, noise, 1, taps);
            pair.second = smoothlyNoisy(head, pair.second, noise, 2, taps);
            return pair;
          }};
}

// As some reconstructions leave it.
SpoiledPair withEmptyAir(const SpoilableHead& head) {
  SpoiledPair pair = pairOf(head, firstOf(head), secondOf(head));
  const auto empty = [&](float value) {
    return static_cast<double>(value) < 0.15 * head.brainMean ? 0.0F : value;
  };
  for (Volume<float>* image : {&pair.first, &pair.second})
    std::transform(image->data(), image->data() + image->size(), image->data(), empty);
  return pair;
}

using Phase = std::function<double(glm::dvec3)>;

// With its Nyquist ghost of a share of it, half a field of view away: the magnitude of both, with a
// phase between them.
Volume<float> ghosted(const Volume<float>& signal, double share, const Phase& phase) {
  Volume<float> result = signal;
  const glm::dvec3 size(signal.dimensions());
  for (int z = 0; z < signal.nz(); ++z)
    for (int y = 0; y < signal.ny(); ++y)
      for (int x = 0; x < signal.nx(); ++x) {
        const double angle = phase(2.0 * (glm::dvec3(x, y, z) + 0.5) / size - 1.0);
        const double ghost =
            share * static_cast<double>(signal.at(x, (y + signal.ny() / 2) % signal.ny(), z));
        result.at(x, y, z) = static_cast<float>(
            std::hypot(static_cast<double>(signal.at(x, y, z)) + ghost * std::cos(angle),
                       ghost * std::sin(angle)));
      }
  return result;
}

double inPhase(glm::dvec3 /*unit*/) { return 0.0; }
double outOfPhase(glm::dvec3 /*unit*/) { return std::numbers::pi; }
// As the coils' and the field's phase runs: by a turn from side to side.
double turning(glm::dvec3 u) { return std::numbers::pi * (u.x + 0.3 * u.y + 0.2 * u.z); }

Spoiling ghost(const char* name, double ofFirst, double ofSecond, const Phase& phase) {
  return {name, false, [=](const SpoilableHead& head) {
            return pairOf(head, ghosted(firstOf(head), ofFirst, phase),
                          ghosted(secondOf(head), ofSecond, phase));
          }};
}

}  // namespace

SpoilableHead simulatedHead(glm::ivec3 size, double maxShift, std::uint64_t seed) {
  // The simulated head's own field of view.
  const PhantomGrid grid{size, glm::dvec3(216.0, 249.6, 144.0) / glm::dvec3(size)};
  const HeadObject object = sampleHead(grid, seed);
  const auto field = [&](double shift, double gradient) {
    return makeHeadField(grid, object, seed, {1.0, shift, gradient, PhaseEncodingAxis::y}).hz() *
           -1.0F;
  };
  SpoilableHead head;
  head.density = object.density;
  head.shiftVoxels = field(maxShift, 0.8);
  head.foldedShift = field(2.5 * maxShift, std::numeric_limits<double>::infinity());
  head.brain = object.brainMask;
  head.brainMean = meanInMask(object.image, object.brainMask);
  head.voxelMm = grid.voxelMm;
  head.seed = seed;
  head.withContrast = [grid, seed](float csf, float grey, float white) {
    return sampleHead(grid, seed, {}, {csf, grey, white}).density;
  };
  return head;
}

std::vector<Spoiling> spoilings() {
  return {
      withNoise("unspoiled, noise 3 %", ordinaryNoise),
      withNoise("noise 1 %", 0.01),
      withNoise("noise 9 %", 0.09),
      larger("displacements twice as large", 2.0F),
      shaded("shading of +-10 % along", 0.1, Course::along),
      shaded("shading of +-10 % across", 0.1, Course::across),
      shaded("shading of +-10 %, middle", 0.1, Course::middle),
      shaded("shading of +-30 % along", 0.3, Course::along),
      shaded("shading of +-30 % across", 0.3, Course::across),
      shaded("shading of +-30 %, middle", 0.3, Course::middle),
      contrast("fluid 20 % brighter", 1.2F, 1.0F, 1.0F),
      contrast("fluid 40 % brighter", 1.4F, 1.0F, 1.0F),
      contrast("grey matter 20 % brighter", 1.0F, 1.2F, 1.0F),
      contrast("all three (T1): 1, 1.1, 1.3", 1.0F, 1.1F, 1.3F),
      lostSignal("signal halved in a region", 0.5),
      lostSignal("signal lost in a region", 0.0),
      {"a fifth of the slices folds", false, folded},
      {"those slices cut off", false, cutOff, /*modelHolds=*/true},
      risingNoise(),
      meanNoise(),
      smoothNoise("noise of 3 %, matrix of 3/4 filled up with zeros", 0.03, zeroFilled()),
      smoothNoise("noise of 9 %, matrix of 3/4 filled up with zeros", 0.09, zeroFilled()),
      smoothNoise("noise of 3 %, smoothed by (1, 2, 1)", 0.03, {2.0, 1.0}),
      smoothNoise("noise of 9 %, smoothed by (1, 2, 1)", 0.09, {2.0, 1.0}),
      {"air set to 0", false, withEmptyAir},
      ghost("ghost of 5 %, half a field of view away", 0.05, 0.05, inPhase),
      ghost("ghost of 10 %", 0.1, 0.1, inPhase),
      ghost("ghost of 5 % in one image", 0.05, 0.0, inPhase),
      ghost("ghost of 5 % in counterphase", 0.05, 0.05, outOfPhase),
      ghost("ghost of 5 % with a phase that turns", 0.05, 0.05, turning),
      ghost("ghost of 10 % with a phase that turns", 0.1, 0.1, turning),
  };
}

}  // namespace mirel
