// Prints the tables of docs/accuracy.md on heads that move within a series: how far volumes are
// from the undistorted image where the head was in the reference, when its motion is known, and
// when it is found in the images.
//
//   mirel_withinmotion [SEED ...]      (default: 1 2 3)

#include <cstdio>
#include <glm/matrix.hpp>
#include <vector>

#include "accuracy/measure.h"
#include "field/grid.h"
#include "field/movedcorrector.h"
#include "motion/credible.h"
#include "motion/realignment.h"
#include "phantom/gridheader.h"
#include "phantom/phantom.h"

using namespace mirel;

namespace {

struct Case {
  const char* name;
  RigidMotion motion;
};

const std::vector<Case> cases = {
    {"none", {}},
    {"half a voxel along z", {{0, 0, 1.2}, {}}},
    {"0.5 mm and 0.5 degrees", {{0.5, -0.5, 0.5}, {0.5, -0.5, 0.5}}},
    {"1 mm and 1 degree", {{-1, 1, 1}, {1, 1, -1}}},
    {"2 mm and 2 degrees", {{2, -2, 2}, {-2, 2, 2}}},
    {"4 mm and 4 degrees", {{-4, 4, 4}, {4, -4, 4}}},
    {"8 degrees about z", {{}, {0, 0, 8}}},
};

glm::dmat4 placeOf(const RigidMotion& motion) {
  glm::dmat4 m(motion.rotation());
  m[3] = glm::dvec4(motion.translationMm, 1.0);
  return m;
}

// The Jacobian of the map as if the head had not turned.
Volume<float> withStillJacobian(const Volume<float>& unmodulated, const Volume<float>& shift) {
  return unmodulated * jacobianAlongY(shift);
}

// With a volume for each of them.
Phantom phantomOf(const std::vector<Case>& motions, std::uint64_t seed, double noise) {
  PhantomOptions options;
  options.seed = seed;
  options.noise = noise;
  options.volumes = static_cast<int>(motions.size());
  for (const Case& one : motions) options.volumeMotion.push_back(one.motion);
  return makePhantom(options);
}

void print(std::uint64_t seed, double noise) {
  const Phantom phantom = phantomOf(cases, seed, noise);
  const PhantomOptions& options = phantom.options;
  const glm::dmat4 affine =
      headerOn({options.size, options.voxelMm}, nifti::DataType::float32, 1, 2, "").affine();
  const Volume<float>& shift = phantom.shiftVoxels;
  const MovedCorrector modulated(shift, 1, Modulation::on), plain(shift, 1, Modulation::off);
  MovedCorrector::Scratch scratch;
  for (int t = 0; t < options.volumes; ++t) {
    // Activity and drift are no errors.
    const Volume<float> volume = phantom.seriesVolume(t) * (1.0f / seriesDrift(t));
    const RigidMotion& motion = cases[static_cast<std::size_t>(t)].motion;
    const glm::dmat4 place = placeOf(motion);
    const Volume<float> still = correctVolume(volume, shift, 1, Modulation::on);
    const Volume<float> twice =
        resampleTo({options.size, place * affine}, still, affine, "volume", Interpolation::cubic);
    Volume<float> once, unmodulated;
    const glm::dmat4 toVolume = glm::inverse(affine) * place * affine;
    modulated.correct(volume, toVolume, once, scratch);
    plain.correct(volume, toVolume, unmodulated, scratch);
    const auto error = [&](const Volume<float>& image) {
      return rmsDifference(image, phantom.truth, phantom.brainMask);
    };
    std::printf("| %s | %g | %llu | %.1f | %.1f | %.1f | %.1f |\n",
                cases[static_cast<std::size_t>(t)].name, 100 * noise,
                static_cast<unsigned long long>(seed), error(still), error(twice),
                error(withStillJacobian(unmodulated, shift)), error(once));
    std::fflush(stdout);
  }
}

const std::vector<Case> realignedCases = {
    {"none", {}},
    {"none, another volume", {}},
    {"drift, 0.1 mm and 0.1 degrees", {{0.1, -0.1, 0.1}, {0.1, -0.1, 0.1}}},
    {"drift, 0.3 mm and 0.3 degrees", {{0.3, -0.3, 0.3}, {0.3, -0.3, 0.3}}},
    {"1 mm and 1 degree", {{-1, 1, 1}, {1, 1, -1}}},
    {"3 mm along y", {{0, 3, 0}, {}}},
    {"4 degrees about x", {{}, {4, 0, 0}}},
    {"2 mm and 2 degrees", {{2, -2, 2}, {-2, 2, 2}}},
    {"4 mm and 4 degrees", {{-4, 4, 4}, {4, -4, 4}}},
};

// What is left of a motion where it was found to be another one.
void printError(const VolumeFit& fit, const RigidMotion& motion, const Grid& grid) {
  const glm::dmat4 left = fit.motion * glm::inverse(placeOf(motion));
  std::printf(" %.2f | %.3f | %.3f | %.3f |", displacementMm(placeOf(motion), grid),
              displacementMm(left, grid), turnedDegrees(glm::dmat3(left)), fit.standardErrorMm);
}

void printRealigned(std::uint64_t seed, double noise) {
  const Phantom phantom = phantomOf(realignedCases, seed, noise);
  const PhantomOptions& options = phantom.options;
  const Grid grid =
      gridOf(headerOn({options.size, options.voxelMm}, nifti::DataType::float32, 1, 2, ""));
  const Volume<float>&shift = phantom.shiftVoxels, none(grid.dims, 0.0F);
  const VolumeAligner aligner(phantom.seriesVolume(0), {grid, shift, 1}, "volume 0"),
      undistorted(phantom.seriesVolume(0), {grid, none, 1}, "volume 0");
  VolumeAligner::Scratch alignment;
  MovedCorrector::Scratch scratch;
  const MovedCorrector corrector(shift, 1, Modulation::on);
  for (int t = 1; t < options.volumes; ++t) {
    const Case& one = realignedCases[static_cast<std::size_t>(t)];
    const Volume<float> volume = phantom.seriesVolume(t) * (1.0f / seriesDrift(t));
    const VolumeFit fit = aligner.align(volume, alignment);
    const auto error = [&](const glm::dmat4& motion) {
      Volume<float> image = correctVolume(volume, shift, 1, Modulation::on);
      if (motion != glm::dmat4(1.0))
        corrector.correct(volume, glm::inverse(grid.affine) * motion * grid.affine, image, scratch);
      return rmsDifference(image, phantom.truth, phantom.brainMask);
    };
    std::printf("| %s | %g | %llu |", one.name, 100 * noise, static_cast<unsigned long long>(seed));
    printError(fit, one.motion, grid);
    const glm::dmat4 ignored =
        undistorted.align(volume, alignment).motion * glm::inverse(placeOf(one.motion));
    std::printf(" %.3f | %.1f | %.1f | %.1f |\n", displacementMm(ignored, grid),
                error(glm::dmat4(1.0)), error(placeOf(one.motion)),
                error(judgedFit(fit, grid).motion));
    std::fflush(stdout);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::uint64_t> seeds = seedsOf(argc, argv);
  std::printf(
      "| motion | noise %% | seed | rms without | corrected, then realigned | in one, the Jacobian"
      " not turned | in one |\n|---|---|---|---|---|---|---|\n");
  for (const std::uint64_t seed : seeds)
    for (const double noise : {0.0, 0.03}) print(seed, noise);
  std::printf(
      "\n| motion | noise %% | seed | displacement mm | error mm | degrees | standard error mm | "
      "error"
      " mm without the field | rms without | true motion | found |\n"
      "|---|---|---|---|---|---|---|---|---|---|---|\n");
  for (const std::uint64_t seed : seeds)
    for (const double noise : {0.03, 0.1}) printRealigned(seed, noise);
  return 0;
}
