#include "accuracy/bound.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include "masspreserving/linesolver.h"
#include "masspreserving/massmodel.h"
#include "masspreserving/objective.h"
#include "masspreserving/pyramid.h"
#include "numerics/splitmix.h"

namespace mirel {

namespace {

// As in the estimate.
constexpr double boundLengthMm = 10.0;
constexpr double boundStretch = 0.98;
constexpr double boundTolerance = 0.001;
constexpr int boundIterations = 600;
constexpr int boundDraws = 3;
constexpr double alphaStep = 1.5;
constexpr std::uint64_t otherNoise = 1000;

// The displacement at the edges, interpolated as where the images are made from it.
Volume<float> trueEdges(const Volume<float>& voxels) {
  const int last = voxels.ny() - 1;
  Volume<float> edges(voxels.nx(), voxels.ny() + 1, voxels.nz());
  for (int z = 0; z < edges.nz(); ++z)
    for (int j = 0; j < edges.ny(); ++j)
      for (int x = 0; x < edges.nx(); ++x) {
        const auto at = [&](int y) { return voxels.at(x, std::clamp(y, 0, last), z); };
        edges.at(x, j, z) = (9.0F * (at(j - 1) + at(j)) - at(j - 2) - at(j + 1)) / 16.0F;
      }
  return edges;
}

Volume<float> residualsOf(const SpoiledPair& pair, const Volume<float>& b) {
  const MassModel<float> model(pair.first, pair.second);
  Volume<float> residuals(model.voxels()), slopes(model.edges());
  model.evaluate(b, residuals, slopes);
  return residuals;
}

double meanSquare(const Volume<float>& values, const Mask& mask) {
  double sum = 0.0;
  for (int i = 0; i < mask.size(); ++i)
    if (mask.data()[i] != 0) sum += static_cast<double>(values.data()[i]) * values.data()[i];
  return sum / count(mask);
}

// A pair at its true displacement.
class AtTruth {
 public:
  AtTruth(const Spoiling& spoiling, const SpoilableHead& head)
      : quiet(withoutNoise(spoiling, head)),
        voxelMm(head.voxelMm),
        b(trueEdges(quiet.shiftVoxels)),
        model(quiet.first, quiet.second),
        objective(model, form(1.0)),
        misfit(residualsOf(quiet, b)) {
    for (int k = 0; k < boundDraws; ++k) {
      SpoilableHead other = head;
      other.seed += static_cast<std::uint64_t>(k) * otherNoise;
      noises.push_back(residualsOf(spoiling.make(other), b) - misfit);
      variance += meanSquare(noises.back(), quiet.scored) / boundDraws;
    }
    model.coverage(b, objective.weight);
    objective.weight *= static_cast<float>(1.0 / variance);
  }

  // Mean square errors of the linear estimate.
  Bounds errorsWith(double alpha) {
    linearise(alpha);
    Volume<float> ofMisfit(b.dimensions());
    objective.gradientOf(misfit, ofMisfit);
    gradient -= ofMisfit;
    const Volume<float> bias = solved(gradient), biasOfMisfit = solved(ofMisfit);
    Bounds found;
    found.roughnessWeight = alpha;
    for (const Volume<float>& noise : noises) {
      objective.gradientOf(noise, gradient);
      Volume<float> error = solved(gradient) + bias;
      found.linear += errorOf(error) / boundDraws;
      found.linearWithMisfit += errorOf(error += biasOfMisfit) / boundDraws;
    }
    return found;
  }

  // Mean of the diagonal of H^-1, by draws of its covariance.
  double bayesian(double alpha) {
    linearise(alpha);
    std::uint64_t state = 1;
    const auto sign = [&] { return (splitMix64(state++) & 1U) != 0 ? 1.0F : -1.0F; };
    double sum = 0.0;
    for (int k = 0; k < boundDraws; ++k) {
      Volume<float> white(model.voxels());
      for (int i = 0; i < white.size(); ++i)
        white.data()[i] = sign() * static_cast<float>(std::sqrt(variance));
      objective.gradientOf(white, gradient);
      objective.roughnessForm().addRoot(sign, gradient);
      sum += errorOf(solved(gradient));
    }
    return sum / boundDraws;
  }

 private:
  // Noise is relative to the brain's mean.
  static SpoiledPair withoutNoise(const Spoiling& spoiling, SpoilableHead head) {
    head.brainMean = 0.0;
    return spoiling.make(head);
  }

  Roughness<float> form(double alpha) const {
    return {b.dimensions(), voxelMm, alpha, alpha * boundLengthMm * boundLengthMm};
  }

  void linearise(double alpha) {
    objective.setRoughness(form(alpha));
    gradient = Volume<float>(b.dimensions());
    objective.linearise(b, gradient);
    lines.emplace(objective.roughnessForm(), objective.blockDiagonal(), objective.blockNext());
  }

  Volume<float> solved(const Volume<float>& rhs) {
    Volume<float> x;
    conjugateGradients<float>(
        [&](const Volume<float>& v, Volume<float>& out) { objective.product(v, out); }, *lines, rhs,
        x, boundTolerance, boundIterations);
    return x;
  }

  // Mean square of an error at the edges, in the voxels that are scored.
  double errorOf(const Volume<float>& error) const {
    return meanSquare(edgesToVoxels(b + error, boundStretch) - quiet.shiftVoxels, quiet.scored);
  }

  SpoiledPair quiet;
  glm::dvec3 voxelMm;
  Volume<float> b;
  MassModel<float> model;
  Objective<float> objective;
  Volume<float> misfit, gradient;
  std::vector<Volume<float>> noises;
  double variance = 0.0;
  std::optional<LineSolver<float>> lines;
};

// Sums over the heads of a row.
struct BoundRow {
  Bounds bounds;
  double squares = 0.0, logWeights = 0.0;
  int pairs = 0;

  double rms(double sum) const { return std::sqrt(sum / pairs); }
};

BoundRow rowOf(const Spoiling& spoiling, const std::vector<SpoilableHead>& heads,
               const MassPreservingOptions& options) {
  BoundRow row;
  for (const SpoilableHead& head : heads) {
    const SpoiledPair pair = spoiling.make(head);
    const MassPreservingResult found =
        estimateMassPreserving(pair.first, pair.second, head.voxelMm, options);
    const Bounds bounds = boundsOf(spoiling, head, found.roughnessWeight);
    row.squares += meanSquare(found.shiftVoxels - pair.shiftVoxels, pair.scored);
    row.logWeights += std::log(found.roughnessWeight / bounds.roughnessWeight);
    row.bounds.bayesian += bounds.bayesian;
    row.bounds.linear += bounds.linear;
    row.bounds.linearWithMisfit += bounds.linearWithMisfit;
    ++row.pairs;
  }
  return row;
}

}  // namespace

Bounds boundsOf(const Spoiling& spoiling, const SpoilableHead& head, double roughnessWeight) {
  AtTruth truth(spoiling, head);
  Bounds best = truth.errorsWith(roughnessWeight);
  for (const double step : {alphaStep, 1.0 / alphaStep}) {
    const double from = best.roughnessWeight;
    for (;;) {
      const Bounds next = truth.errorsWith(best.roughnessWeight * step);
      if (!(next.linear < best.linear)) break;
      best = next;
    }
    if (best.roughnessWeight != from) break;
  }
  best.bayesian = truth.bayesian(best.roughnessWeight);
  return best;
}

void printBounds(const std::vector<SpoilableHead>& heads, const std::string& row,
                 const MassPreservingOptions& options) {
  std::printf(
      "| pair | rms voxels | Bayesian bound | times | linear estimate | times "
      "| with the model's misfit | times | strength over the best |\n"
      "|---|---|---|---|---|---|---|---|---|\n");
  for (const Spoiling& spoiling : spoilings()) {
    if (!spoiling.modelHolds || spoiling.name.find(row) == std::string::npos) continue;
    const BoundRow sums = rowOf(spoiling, heads, options);
    const double rms = sums.rms(sums.squares);
    std::printf("| %s | %.4f |", spoiling.name.c_str(), rms);
    for (const double sum :
         {sums.bounds.bayesian, sums.bounds.linear, sums.bounds.linearWithMisfit})
      std::printf(" %.4f | %.2f |", sums.rms(sum), rms / sums.rms(sum));
    std::printf(" %.2f |\n", std::exp(sums.logWeights / sums.pairs));
    std::fflush(stdout);
  }
}

}  // namespace mirel
