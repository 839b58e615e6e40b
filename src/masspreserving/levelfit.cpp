#include "masspreserving/levelfit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <glm/geometric.hpp>
#include <utility>
#include <vector>

#include "masspreserving/posterior.h"
#include "numerics/splitmix.h"

namespace mirel {

namespace {

// Length l of the roughness |grad b|^2 + l^2 |laplacian b|^2. Below it bending counts, which is
// what a field in homogeneous tissue has none of; above it the gradient, so that the field levels
// out where nothing is measured.
constexpr double bendingLengthMm = 10.0;

// Relative to the signal: what rounding and interpolation leave of a pair without any noise.
constexpr double leastNoise = 1e-4;

// Of the residuals' degrees of freedom, beside those of the field. At coarse resolutions the count
// of voxels with signal is too small to be taken at its word.
constexpr double leastShareLeft = 0.2;

// Bounds of the evidence for the ratio of intensities, for pairs that have next to none.
constexpr double leastShareOfRank = 0.05;
constexpr double largestRatioWeight = 1e8;
constexpr std::uint64_t ratioSigns = 1000003;  // another part of the sequence of signs

// The largest stretch that a step may reach.
constexpr double largestStepStretch = 0.98;

// +1 or -1, the same for equal n.
float signOf(std::uint64_t n) { return (splitMix64(n) & 1U) != 0 ? 1.0F : -1.0F; }

// Takes `allowed`, a t <= 1, down to one for which no stretch of b + t d exceeds `bound` in size in
// a slice.
void allow(const Volume<float>& b, const Volume<float>& d, double bound, int z, double& allowed) {
  for (int j = 0; j + 1 < b.ny(); ++j)
    for (int x = 0; x < b.nx(); ++x) {
      const double stretch = static_cast<double>(b.at(x, j + 1, z)) - b.at(x, j, z);
      const double change = static_cast<double>(d.at(x, j + 1, z)) - d.at(x, j, z);
      if (std::abs(stretch + allowed * change) <= bound) continue;
      const double room = (change > 0.0 ? bound - stretch : bound + stretch) / std::abs(change);
      allowed = std::max(0.0, std::min(allowed, room));
    }
}

// Whether neither b nor b + d have a stretch above `bound` in a slice: no b + t d between them has,
// and `allow` leaves any t as it is, rounding included.
bool isAllowed(const Volume<float>& b, const Volume<float>& d, double bound, int z) {
  int above = 0;
  for (int j = 0; j + 1 < b.ny(); ++j) {
    const float *low = b.data() + b.index(0, j, z), *high = low + b.nx();
    const float *lowStep = d.data() + d.index(0, j, z), *highStep = lowStep + b.nx();
    for (int x = 0; x < b.nx(); ++x) {
      const double stretch = static_cast<double>(high[x]) - low[x];
      const double change = static_cast<double>(highStep[x]) - lowStep[x];
      above += static_cast<int>(!(std::abs(stretch) <= bound)) +
               static_cast<int>(!(std::abs(stretch + change) <= bound));
    }
  }
  return above == 0;
}

// The largest t <= 1 for which no stretch of b + t d exceeds `bound` in size.
double largestAllowed(const Volume<float>& b, const Volume<float>& d, double bound,
                      const Parallel& parallel) {
  std::vector<char> free(static_cast<std::size_t>(b.nz()));
  inSlices(parallel, b.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z)
      free[static_cast<std::size_t>(z)] = isAllowed(b, d, bound, z) ? 1 : 0;
  });
  double allowed = 1.0;
  for (int z = 0; z < b.nz(); ++z)
    if (free[static_cast<std::size_t>(z)] == 0) allow(b, d, bound, z, allowed);
  return allowed;
}

// b + t d, and the largest |t d|.
double stepFrom(const Volume<float>& b, double t, const Volume<float>& d, Volume<float>& to,
                const Parallel& parallel) {
  std::vector<double> largest(static_cast<std::size_t>(b.nz()), 0.0);
  inSlices(parallel, b.dimensions(), [&](int begin, int end) {
    for (int z = begin; z < end; ++z) {
      double& ofSlice = largest[static_cast<std::size_t>(z)];
      for (int i = b.index(0, 0, z); i < b.index(0, 0, z + 1); ++i) {
        to.data()[i] = b.data()[i] + static_cast<float>(t) * d.data()[i];
        ofSlice = std::max(ofSlice, std::abs(t * static_cast<double>(d.data()[i])));
      }
    }
  });
  return *std::max_element(largest.begin(), largest.end());
}

}  // namespace

LevelFit::LevelFit(const MassModel<float>& massModel, glm::dvec3 shape, Volume<float> start,
                   FitStatistics statistics, RatioFit<float>* ratio, Volume<float> ofPlaces)
    : model(massModel),
      spacing(shape),
      b(std::move(start)),
      trust(std::move(ofPlaces)),
      known(statistics),
      objective(model, form(statistics.roughnessWeight)),
      gradient(model.edges(), 0.0F),
      direction(model.edges(), 0.0F) {
  evaluate();
  if (!(known.noise.variance > 0.0)) known.noise = noiseOf(NoiseTails::normal).noise;
  known.noise.variance = std::max(known.noise.variance, leastNoise * leastNoise);
  if (ratio == nullptr) return;
  ratio->setIntensities(objective.means(), known.noise.variance);
  objective.ratio = ratio;
  evaluated = false;
}

void LevelFit::evaluate() {
  if (!evaluated) objective.evaluate(b);
  evaluated = true;
}

double LevelFit::linearise() {
  evaluate();
  const double energy = objective.lineariseEvaluated(b, gradient);
  lines.emplace(objective.roughnessForm(), objective.blockDiagonal(), objective.blockNext());
  return energy;
}

NoiseFit LevelFit::noiseOf(NoiseTails tails) const {
  return fitNoise(objective.residuals(), objective.lowSlopes(), objective.highSlopes(), tails,
                  trust, model.inParallel());
}

Roughness<float> LevelFit::form(double weight) const {
  return Roughness<float>(model.edges(), spacing, weight,
                          weight * bendingLengthMm * bendingLengthMm, model.inParallel(),
                          bending ? bending->factors() : nullptr);
}

void LevelFit::bendLocally() {
  evaluate();
  const double before = objective.roughnessOf(b, form(1.0));
  bending.emplace(objective.means(), trust, spacing, model.inParallel());
  adaptBending();
  const double after = objective.roughnessOf(b, form(1.0));
  if (before > 0.0 && after > 0.0) known.roughnessWeight *= before / after;
}

void LevelFit::adaptBending() {
  if (!bending) return;
  if (objective.priorMean.size() > 0)
    bending->adapt(b - objective.priorMean);
  else
    bending->adapt(b);
}

void LevelFit::updateWeights() {
  if (objective.ratio != nullptr || std::isfinite(known.noise.nu)) evaluate();
  if (objective.ratio != nullptr) {
    objective.ratio->setIntensities(objective.means(), known.noise.variance);
    evaluated = false;
    evaluate();
  }
  model.coverage(b, objective.weight);
  const float precision = static_cast<float>(1.0 / known.noise.variance);
  const bool student = std::isfinite(known.noise.nu);
  const float* residual = objective.residuals().data();
  inElements(model.inParallel(), objective.weight.size(), [&](int from, int to) {
    float* weight = objective.weight.data();
    for (int i = from; i < to; ++i) weight[i] *= precision;
    for (int i = from; i < to && trust.size() > 0; ++i) weight[i] *= trust.data()[i];
    for (int i = from; i < to && student; ++i)
      weight[i] *= static_cast<float>(known.noise.relativeWeight(residual[i]));
  });
  objective.setRoughness(form(known.roughnessWeight));
  if (ofVoxels && ofVoxels->variance > 0.0)
    objective.noiseVariance = ofVoxels->averagedShare() * noiseKept * known.noise.variance;
}

double LevelFit::logLikelihood() {
  evaluate();
  return noiseOf(NoiseTails::student).logLikelihood;
}

PlaceTrust LevelFit::placesOver(const CoarseGrid& nodes, const Volume<float>& weights) {
  evaluate();
  // What one image does not reach says nothing of its place.
  Volume<float> low = objective.lowSlopes(), reached(model.voxels());
  model.coverage(b, reached);
  low *= reached;
  if (weights.size() > 0) low *= weights;
  return {objective.residuals(), low, objective.highSlopes(), nodes};
}

double LevelFit::shareLeft(const NoiseFit& fit) const {
  return std::max(leastShareLeft, 1.0 - known.degreesOfFreedom / std::max(fit.effectiveCount, 1.0));
}

Volume<float> LevelFit::variance(int draws) {
  updateWeights();
  linearise();
  const Volume<float> shares = sharesLeft(objective, *lines, draws);
  Objective<float> clean = withoutSlopeNoise(objective, b);
  const LineSolver<float> cleanLines(clean.roughnessForm(), clean.blockDiagonal(),
                                     clean.blockNext());
  return posteriorVariance(objective, clean, cleanLines, b, shares, draws);
}

void LevelFit::setPriorMean(Volume<float> mean) { objective.priorMean = std::move(mean); }

double LevelFit::ratioSpread() const {
  return objective.ratio != nullptr ? objective.ratio->spread(objective.means()) : 0.0;
}

LevelFit::Step LevelFit::step(double tolerance, int maxSolverIterations) {
  updateWeights();
  const double before = linearise();
  const auto product = [&](const Volume<float>& v, Volume<float>& out) {
    objective.product(v, out);
  };
  const SolveResult solved = conjugateGradients<float>(product, *lines, gradient, direction,
                                                       tolerance, maxSolverIterations);
  double descent = dot(gradient, direction, model.inParallel());
  inElements(model.inParallel(), direction.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) direction.data()[i] *= -1.0F;
  });
  Eigen::VectorXd ratioFrom, ratioStep;
  const bool withRatio = objective.ratio != nullptr;
  if (withRatio) {
    RatioFit<float>& ratio = *objective.ratio;
    Volume<float> change(model.voxels());
    objective.residualChange(direction, change);
    ratioFrom = ratio.knowledge().coefficients;
    ratioStep = -ratio.solve(ratio.gradient() + ratio.weighted(change));
    descent += ratio.gradient().dot(ratio.solve(ratio.gradient()));
  }
  Step result{before, 0.0, solved.iterations};
  double t = largestAllowed(b, direction, largestStepStretch, model.inParallel());
  Volume<float> candidate(b.dimensions());
  for (int trial = 0; trial < 8 && descent > 0.0; ++trial, t *= 0.5) {
    const double largest = stepFrom(b, t, direction, candidate, model.inParallel());
    if (withRatio) {
      objective.ratio->setCoefficients(ratioFrom + t * ratioStep);
      if (!objective.ratio->isWithinBounds()) continue;
    }
    const double after = objective.value(candidate);
    if (!(after <= before - 1e-4 * t * descent)) continue;
    result.energy = after;
    result.largestStep = largest;
    std::swap(b, candidate);
    return result;
  }
  if (withRatio) objective.ratio->setCoefficients(ratioFrom);
  evaluated = false;
  return result;
}

MotionStep LevelFit::motionStep(const HalfWayPair& pair, const RigidMotion& motion,
                                const GridPlace& place, MotionResponse& response, double tolerance,
                                int maxSolverIterations) {
  updateWeights();
  linearise();
  MotionStep step = mirel::motionStep(objective, *lines, gradient,
                                      motionDerivatives(pair, b, place, model.inParallel()), motion,
                                      response, tolerance, maxSolverIterations);
  const double radius = glm::length(place.firstMm);
  const double largest = std::max(glm::length(translationOf(step.change)),
                                  radius * glm::length(rotationOf(step.change)));
  const double voxel = std::min({spacing.x, spacing.y, spacing.z});
  double part = largest > voxel ? voxel / largest : 1.0;
  step.shift *= static_cast<float>(part);
  const double allowed = largestAllowed(b, step.shift, largestStepStretch, model.inParallel());
  step.shift *= static_cast<float>(allowed);
  step.change *= part * allowed;
  b += step.shift;
  evaluated = false;
  return step;
}

// Trace of (H^-1 J'WJ), with one vector of random signs (Hutchinson, Commun. Stat. 18:1059, 1989).
// H is that of the last step, from which a step changes it little.
double LevelFit::traceEstimate() {
  Volume<float> signs(b.dimensions()), rhs(b.dimensions(), 0.0F), solution;
  inElements(model.inParallel(), signs.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) signs.data()[i] = signOf(static_cast<std::uint64_t>(i));
  });
  objective.dataProduct(signs, rhs);
  const auto product = [&](const Volume<float>& v, Volume<float>& out) {
    objective.product(v, out);
  };
  conjugateGradients<float>(product, *lines, rhs, solution, 0.2, 40);
  return dot(signs, solution, model.inParallel());
}

// The ratio's strengths of smoothness by their evidence, like the displacement's: beta = gamma /
// c'Rc, gamma = rank - beta tr(Sigma R), Sigma the covariance of c with b integrated out. Its trace
// again by a vector of signs: Sigma s = A^-1 (s - C x) with H x = -C' A^-1 s.
void LevelFit::updateRatioWeights() {
  RatioFit<float>& ratio = *objective.ratio;
  const RatioKnowledge& now = ratio.knowledge();
  Eigen::VectorXd signs(now.coefficients.size());
  for (int i = 0; i < signs.size(); ++i)
    signs[i] = static_cast<double>(signOf(ratioSigns + static_cast<std::uint64_t>(i)));
  Volume<float> change(model.voxels()), rhs(b.dimensions(), 0.0F), solution;
  ratio.change(-ratio.solve(signs), change);
  objective.gradientOf(change, rhs);
  const auto product = [&](const Volume<float>& v, Volume<float>& out) {
    objective.product(v, out);
  };
  conjugateGradients<float>(product, *lines, rhs, solution, 0.1, 60);
  objective.residualChange(solution, change);
  const Eigen::VectorXd spread = ratio.solve(signs - ratio.weighted(change));
  const auto weight = [&](double beta, int rank, const Eigen::VectorXd& roughSigns,
                          const Eigen::VectorXd& roughNow) {
    if (rank <= 0) return beta;
    const double gamma =
        std::clamp(rank - beta * roughSigns.dot(spread), leastShareOfRank * rank, 1.0 * rank);
    const double roughness = now.coefficients.dot(roughNow);
    return roughness > 0.0 ? std::min(gamma / roughness, largestRatioWeight) : beta;
  };
  const double ofShapes = weight(now.shapeWeight, ratio.shapes() - 1, ratio.shapeRoughness(signs),
                                 ratio.shapeRoughness(now.coefficients));
  const double ofKnots = weight(now.knotWeight, ratio.knots() - 1, ratio.knotRoughness(signs),
                                ratio.knotRoughness(now.coefficients));
  ratio.setWeights(ofShapes, ofKnots);
}

void LevelFit::updateNoise(NoiseTails tails) {
  const NoiseFit fit = noiseOf(tails);
  known.noise = fit.noise;
  double variance = known.noise.variance / shareLeft(fit);
  if (expectsNoise && !ofVoxels) ofVoxels = voxelNoise(objective, *lines, b);
  // Between what the fit left and what the images hold: with the latter alone the field's peaks,
  // which are rougher than the prior has them, come out too low.
  if (ofVoxels && ofVoxels->variance > 0.0) variance = std::sqrt(variance * ofVoxels->variance);
  known.noise.variance = std::max(variance / noiseKept, leastNoise * leastNoise);
}

void LevelFit::updateStatistics(NoiseTails tails, RatioEvidence evidence) {
  evaluate();
  adaptBending();
  known.degreesOfFreedom = std::max(traceEstimate(), 1.0);
  if (objective.ratio != nullptr && evidence == RatioEvidence::updated) updateRatioWeights();
  updateNoise(tails);
  const double roughness = objective.roughnessOf(b, form(1.0));
  if (roughness > 0.0) known.roughnessWeight = known.degreesOfFreedom / roughness;
}

}  // namespace mirel
