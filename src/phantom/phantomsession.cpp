#include "phantom/phantomsession.h"

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>
#include <limits>

#include "phantom/field.h"
#include "phantom/random.h"

namespace mirel {

namespace {

constexpr std::uint64_t poseStream = 0x706f7365ULL;

// Factors of the signal of the spin-echo image.
constexpr TissueContrast seriesContrast{1.1F, 0.8F, 0.7F};
constexpr float weightedCsf = 0.05F, weightedGrey = 0.45F;
constexpr double weighting = 1000.0;  // s/mm^2
// Diffusivity of white matter in mm^2/s: in all directions, and along x in addition.
constexpr double diffusivity = 0.2e-3, diffusivityAlongX = 1.2e-3;

HeadField fieldFor(const PhantomOptions& options, const PhantomGrid& grid) {
  checkPhantomOptions(options);
  const double bound = options.allowFolds ? std::numeric_limits<double>::infinity() : steepestShift;
  return makeHeadField(grid, sampleHead(grid, options.seed), options.seed,
                       {options.readoutSeconds, wantedShiftVoxels(options), bound, options.axis});
}

// Turning the head turns the field's gradients, too: a steep one across the axis may come to lie
// along it.
void boundGradient(Volume<float>& fieldHz, const PhantomOptions& options) {
  const Volume<float> slope = shiftDerivative(fieldHz, options.axis);
  float steepest = 0.0F;
  for (int i = 0; i < slope.size(); ++i) steepest = std::max(steepest, std::abs(slope.data()[i]));
  const double gradient = static_cast<double>(steepest) * options.readoutSeconds;
  if (gradient > steepestShift) fieldHz *= static_cast<float>(steepestShift / gradient);
}

PhantomScan seriesOf(const Volume<float>& density, int volumes) {
  PhantomScan series{{density, activeRegion(density)}, {}};
  for (int t = 0; t < volumes; ++t) {
    const float drift = seriesDrift(t);
    series.weights.push_back({drift, drift * seriesActivity(t)});
  }
  return series;
}

nifti::GradientTable gradientTable() {
  const float part = std::sqrt(0.5F);
  const glm::vec3 directions[] = {{part, 0.0F, part},  {-part, 0.0F, part}, {0.0F, part, part},
                                  {0.0F, part, -part}, {part, part, 0.0F},  {-part, part, 0.0F}};
  nifti::GradientTable table;
  const auto add = [&table](glm::vec3 direction, double b) {
    table.directions.push_back(direction);
    table.bValues.push_back(static_cast<float>(b));
  };
  for (int n = 0; n < 6; ++n) {
    if (n % 3 == 0) add(glm::vec3(0.0F), 0.0);
    add(directions[n], weighting);
  }
  add(glm::vec3(0.0F), 0.0);
  return table;
}

// A weighted image lies between one without white matter and one with all of it.
PhantomScan diffusionOf(const Volume<float>& spinEcho, const Volume<float>& withoutWhite,
                        const Volume<float>& withWhite, const nifti::GradientTable& table) {
  PhantomScan scan{{spinEcho, withoutWhite, withWhite}, {}};
  for (std::size_t n = 0; n < table.bValues.size(); ++n) {
    const double x = table.directions[n].x;
    const double lost = table.bValues[n] * (diffusivity + diffusivityAlongX * x * x);
    const float white = static_cast<float>(std::exp(-lost));
    if (table.bValues[n] == 0.0F)
      scan.weights.push_back({1.0F, 0.0F, 0.0F});
    else
      scan.weights.push_back({0.0F, 1.0F - white, white});
  }
  return scan;
}

}  // namespace

Volume<float> PhantomSession::shiftVoxels(double readoutSeconds, bool positive) const {
  return fieldHz * static_cast<float>(positive ? readoutSeconds : -readoutSeconds);
}

PhantomHead::PhantomHead(const PhantomOptions& o)
    : options(o), grid{o.size, o.voxelMm}, field(fieldFor(options, grid)) {}

PhantomSession PhantomHead::session(int number) const {
  const RandomStream random(options.seed, poseStream + static_cast<std::uint64_t>(number));
  RigidMotion pose;
  for (int axis = 0; axis < 3; ++axis) {
    const auto counter = static_cast<std::uint64_t>(axis);
    pose.translationMm[axis] = (random.uniform(counter) - 0.5) * 0.5 * grid.voxelMm[axis];
    pose.rotationDegrees[axis] = (random.uniform(counter + 3) - 0.5) * 4.0;
  }
  const auto densityOf = [&](const TissueContrast& contrast) {
    return sampleHead(grid, options.seed, pose, contrast).density;
  };
  const HeadObject head = sampleHead(grid, options.seed, pose);
  const Volume<float> seriesDensity = densityOf(seriesContrast);

  PhantomSession session;
  session.fieldHz = field.hz(pose) * static_cast<float>(0.75 + 0.25 * random.uniform(6));
  if (!options.allowFolds) boundGradient(session.fieldHz, options);
  session.brainMask = head.brainMask;
  session.headMask = head.headMask;
  session.noiseSigma = options.noise * meanInMask(head.image, head.brainMask);
  session.spinEcho = {{head.density}, {{1.0F}}};
  session.reference = {{seriesDensity}, {{1.0F}}};
  session.series = seriesOf(seriesDensity, options.volumes);
  session.gradients = gradientTable();
  session.diffusion = diffusionOf(head.density, densityOf({weightedCsf, weightedGrey, 0.0F}),
                                  densityOf({weightedCsf, weightedGrey, 1.0F}), session.gradients);
  return session;
}

}  // namespace mirel
