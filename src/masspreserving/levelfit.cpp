#include "masspreserving/levelfit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "masspreserving/linesolver.h"

namespace {

double bendShare() {
  static const double v = std::getenv("MP_BEND") ? std::atof(std::getenv("MP_BEND")) : 0.0;
  return v;
}

// +1 or -1, the same for equal n: an inexpensive hash (finaliser of SplitMix64).
float signOf(std::uint64_t n) {
  n += 0x9e3779b97f4a7c15ULL;
  n = (n ^ (n >> 30)) * 0xbf58476d1ce4e5b9ULL;
  n = (n ^ (n >> 27)) * 0x94d049bb133111ebULL;
  return ((n ^ (n >> 31)) & 1U) != 0 ? 1.0F : -1.0F;
}

// The largest t <= 1 for which no stretch of b + t d exceeds `bound` in size.
double largestAllowed(const Volume<float>& b, const Volume<float>& d, double bound) {
  double allowed = 1.0;
  for (int z = 0; z < b.nz(); ++z)
    for (int j = 0; j + 1 < b.ny(); ++j)
      for (int x = 0; x < b.nx(); ++x) {
        const double stretch = static_cast<double>(b.at(x, j + 1, z)) - b.at(x, j, z);
        const double change = static_cast<double>(d.at(x, j + 1, z)) - d.at(x, j, z);
        if (std::abs(stretch + allowed * change) <= bound) continue;
        const double room = (change > 0.0 ? bound - stretch : bound + stretch) / std::abs(change);
        allowed = std::max(0.0, std::min(allowed, room));
      }
  return allowed;
}

}  // namespace

LevelFit::LevelFit(const MassModel<float>& massModel, glm::dvec3 shape, Volume<float> start,
                   FitStatistics statistics)
    : model(massModel),
      spacing(shape),
      b(std::move(start)),
      known(statistics),
      objective(model, form(statistics.roughnessWeight)),
      gradient(model.edges(), 0.0F),
      direction(model.edges(), 0.0F) {
  if (known.residualVariance <= 0.0) {
    objective.value(b);
    double count = 0.0;
    known.residualVariance = residualVariance(count);
  }
}

Roughness<float> LevelFit::form(double weight) const {
  const double bend = bendShare();
  return Roughness<float>(model.edges(), spacing, weight * (1.0 - bend), weight * bend);
}

void LevelFit::updateWeights() {
  model.coverage(b, objective.weight);
  const float precision =
      known.residualVariance > 0.0 ? static_cast<float>(1.0 / known.residualVariance) : 0.0F;
  objective.weight *= precision;
  objective.setRoughness(form(known.roughnessWeight));
}

LevelFit::Step LevelFit::step(double tolerance, int maxSolverIterations) {
  updateWeights();
  const double before = objective.linearise(b, gradient);
  const LineSolver<float> lines(objective.roughnessForm(), objective.blockDiagonal(),
                                objective.blockNext());
  const auto product = [&](const Volume<float>& v, Volume<float>& out) { objective.product(v, out); };
  const SolveResult solved = conjugateGradients<float>(product, lines, gradient, direction,
                                                       tolerance, maxSolverIterations);
  const double descent = dot(gradient, direction);
  direction *= -1.0F;
  Step result{before, 0.0, solved.iterations};
  double t = std::min(1.0, 0.95 * largestAllowed(b, direction, 0.98) + 0.05);
  t = std::min(t, largestAllowed(b, direction, 0.98));
  Volume<float> candidate(b.dimensions());
  for (int trial = 0; trial < 8 && descent > 0.0; ++trial, t *= 0.5) {
    for (int i = 0; i < b.size(); ++i)
      candidate.data()[i] = b.data()[i] + static_cast<float>(t) * direction.data()[i];
    const double after = objective.value(candidate);
    if (!(after <= before - 1e-4 * t * descent)) continue;
    result.energy = after;
    for (int i = 0; i < b.size(); ++i)
      result.largestStep = std::max(
          result.largestStep, std::abs(t * static_cast<double>(direction.data()[i])));
    std::swap(b, candidate);
    return result;
  }
  objective.value(b);
  return result;
}

// Mean of r^2 over voxels weighted with the squared signal, and the number of voxels that counts.
double LevelFit::residualVariance(double& effectiveCount) const {
  const Volume<float>&r = objective.residuals(), &s = objective.slopes();
  double sum = 0.0, weights = 0.0, squares = 0.0;
  for (int z = 0; z < r.nz(); ++z)
    for (int j = 0; j < r.ny(); ++j)
      for (int x = 0; x < r.nx(); ++x) {
        const double signal = static_cast<double>(s.at(x, j, z)) * s.at(x, j + 1, z);
        const double w = std::max(signal, 0.0), e = r.at(x, j, z);
        sum += w * e * e;
        weights += w;
        squares += w * w;
      }
  effectiveCount = squares > 0.0 ? weights * weights / squares : 0.0;
  return weights > 0.0 ? sum / weights : 0.0;
}

// Trace of (H^-1 J'WJ), with one vector of random signs (Hutchinson, Commun. Stat. 18:1059, 1989).
double LevelFit::traceEstimate() {
  objective.linearise(b, gradient);
  Volume<float> signs(b.dimensions()), rhs(b.dimensions(), 0.0F), solution;
  for (int i = 0; i < signs.size(); ++i) signs.data()[i] = signOf(static_cast<std::uint64_t>(i));
  objective.dataProduct(signs, rhs);
  const LineSolver<float> lines(objective.roughnessForm(), objective.blockDiagonal(),
                                objective.blockNext());
  const auto product = [&](const Volume<float>& v, Volume<float>& out) { objective.product(v, out); };
  conjugateGradients<float>(product, lines, rhs, solution, 0.02, 60);
  return dot(signs, solution);
}

void LevelFit::updateStatistics() {
  known.degreesOfFreedom = std::max(traceEstimate(), 1.0);
  double count = 0.0;
  const double variance = residualVariance(count);
  const double left = std::max(0.2, 1.0 - known.degreesOfFreedom / std::max(count, 1.0));
  known.residualVariance = variance / left;
  Volume<float> rough(b.dimensions(), 0.0F), scratch(b.dimensions(), 0.0F);
  form(1.0).apply(b, rough, scratch);
  const double roughness = dot(b, rough);
  if (roughness > 0.0) known.roughnessWeight = known.degreesOfFreedom / roughness;
}
