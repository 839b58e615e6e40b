#include "masspreserving/objective.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "masspreserving/gridkernels.h"

namespace mirel {

Barrier::Barrier(double d) {
  const double u = d * d, gap = 1.0 - u;
  if (!(gap > 0.0)) {
    value = std::numeric_limits<double>::infinity();
    first = second = 0.0;
    return;
  }
  const double slope = u * (2.0 - u) / (gap * gap);  // d value / d u
  value = u * u / gap;
  first = 2.0 * d * slope;
  second = 2.0 * slope + 8.0 * u / (gap * gap * gap);
}

AveragedNoise::AveragedNoise(double s) {
  constexpr double missingHalfWay = 0.302;
  const double beside = s - std::round(s), u = std::abs(beside), part = 4.0 * u * (1.0 - u);
  missing = missingHalfWay * part * part;
  slope = missingHalfWay * 8.0 * part * (1.0 - 2.0 * u) * (beside < 0.0 ? -1.0 : 1.0);
}

template <typename Real>
Objective<Real>::Objective(const MassModel<Real>& massModel, const Roughness<Real>& form)
    : weight(massModel.voxels(), Real(1)),
      model(massModel),
      roughness(form),
      residual(massModel.voxels(), Real(0)),
      low(massModel.voxels(), Real(0)),
      high(massModel.voxels(), Real(0)),
      mean(massModel.voxels(), Real(0)),
      diagonal(massModel.edges(), Real(0)),
      next(massModel.edges(), Real(0)),
      scratch(massModel.edges(), Real(0)),
      rough(massModel.edges(), Real(0)),
      voxelScratch(massModel.voxels(), Real(0)) {}

template <typename Real>
void Objective<Real>::evaluate(const Volume<Real>& b) {
  static const Volume<Real> none;
  model.evaluate(b, ratio != nullptr ? ratio->root() : none,
                 ratio != nullptr ? ratio->inverseRoot() : none, residual, low, high, mean);
}

template <typename Real>
void Objective<Real>::differenceSlopes(const Volume<Real>& b, Volume<Real>& atLow,
                                       Volume<Real>& atHigh) const {
  const Volume<Real> ones(model.voxels(), Real(1));
  const Volume<Real>& inverse = ratio != nullptr ? ratio->inverseRoot() : ones;
  const Volume<Real> negative = (ratio != nullptr ? ratio->root() : ones) * Real(-1);
  Volume<Real> sum(model.voxels()), half(model.voxels());
  model.evaluate(b, negative, inverse, sum, atLow, atHigh, half);
}

template <typename Real>
void Objective<Real>::setSlopes(const Volume<Real>& b, Volume<Real> atLow, Volume<Real> atHigh) {
  low = std::move(atLow);
  high = std::move(atHigh);
  Volume<Real> gradient(model.edges());
  addDataTerms(b, &gradient);
}

// Residual and barrier terms; with a gradient also the blocks of the Hessian.
template <typename Real>
double Objective<Real>::addDataTerms(const Volume<Real>& b, Volume<Real>* gradient) {
  const glm::ivec3 size = model.voxels();
  std::vector<double> ofRows(static_cast<std::size_t>(size.y * size.z));
  inSlices(inParallel(), size, [&](int from, int to) {
    for (int z = from; z < to; ++z) {
      const std::ptrdiff_t row = std::ptrdiff_t{z} * size.y;
      addDataTermsOf(z, b, gradient, ofRows.data() + row);
    }
  });
  return sumOf(ofRows);
}

// The same of a slice, the terms row by row.
template <typename Real>
void Objective<Real>::addDataTermsOf(int z, const Volume<Real>& b, Volume<Real>* gradient,
                                     double* ofRows) {
  const glm::ivec3 size = model.voxels();
  const int nx = size.x;
  if (gradient != nullptr)
    for (Volume<Real>* v : {gradient, &diagonal, &next})
      std::fill(v->data() + v->index(0, 0, z), v->data() + v->index(0, 0, z + 1), Real(0));
  for (int j = 0; j < size.y; ++j) {
    const int voxel = residual.index(0, j, z), below = b.index(0, j, z), above = below + nx;
    double rowTotal = 0.0;
    for (int x = 0; x < nx; ++x) {
      const double r = residual.data()[voxel + x], w = weight.data()[voxel + x];
      const double b0 = b.data()[below + x], b1 = b.data()[above + x];
      const Barrier barrier(b1 - b0);
      rowTotal += 0.5 * w * r * r + barrier.value;
      double ofNoise = 0.0;
      if (noiseVariance > 0.0 && mean.data()[voxel + x] != Real(0)) {
        const AveragedNoise averaged(0.5 * (b0 + b1));
        rowTotal += 0.5 * w * noiseVariance * averaged.missing;
        ofNoise = 0.25 * w * noiseVariance * averaged.slope;
      }
      if (gradient == nullptr) continue;
      const double s0 = low.data()[voxel + x], s1 = high.data()[voxel + x];
      gradient->data()[below + x] -= static_cast<Real>(w * r * s0 + barrier.first - ofNoise);
      gradient->data()[above + x] += static_cast<Real>(w * r * s1 + barrier.first + ofNoise);
      diagonal.data()[below + x] += static_cast<Real>(w * s0 * s0 + barrier.second);
      diagonal.data()[above + x] += static_cast<Real>(w * s1 * s1 + barrier.second);
      next.data()[below + x] = static_cast<Real>(-w * s0 * s1 - barrier.second);
    }
    ofRows[j] = rowTotal;
  }
}

template <typename Real>
double Objective<Real>::roughnessOf(const Volume<Real>& b, const Roughness<Real>& form) {
  if (priorMean.size() == 0) {
    form.apply(b, rough, scratch);
    return dot(b, rough, inParallel());
  }
  Volume<Real> beside = b;
  beside -= priorMean;
  form.apply(beside, rough, scratch);
  return dot(beside, rough, inParallel());
}

// Leaves the gradient of the roughness in `rough`.
template <typename Real>
double Objective<Real>::valueOfPriors(const Volume<Real>& b) {
  return 0.5 * roughnessOf(b, roughness) + (ratio != nullptr ? ratio->priorEnergy() : 0.0);
}

template <typename Real>
double Objective<Real>::value(const Volume<Real>& b) {
  evaluate(b);
  const double data = addDataTerms(b, nullptr);
  return std::isfinite(data) ? data + valueOfPriors(b) : data;
}

template <typename Real>
double Objective<Real>::linearise(const Volume<Real>& b, Volume<Real>& gradient) {
  evaluate(b);
  return lineariseEvaluated(b, gradient);
}

template <typename Real>
double Objective<Real>::lineariseEvaluated(const Volume<Real>& b, Volume<Real>& gradient) {
  const double data = addDataTerms(b, &gradient);
  const double priors = valueOfPriors(b);
  inElements(inParallel(), gradient.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) gradient.data()[i] += rough.data()[i];
  });
  if (eliminates()) {
    ratio->linearise(weight, residual, mean);
    ratio->change(-ratio->solve(ratio->gradient()), voxelScratch);
    addGradientOf(voxelScratch, gradient);
  }
  return data + priors;
}

template <typename Real>
void Objective<Real>::product(const Volume<Real>& v, Volume<Real>& out) {
  const glm::ivec3 size = v.dimensions();
  inSlices(inParallel(), size,
           [&](int from, int to) { roughness.applyFirst(v, scratch, from, to); });
  inSlices(inParallel(), size, [&](int from, int to) {
    for (int z = from; z < to; ++z) {
      roughness.applySecond(scratch, out, z, z + 1);
      addBlocks(z, v, out);
    }
  });
  if (!eliminates()) return;
  residualChange(v, voxelScratch);
  ratio->change(-ratio->solve(ratio->weighted(voxelScratch)), voxelScratch);
  addGradientOf(voxelScratch, out);
}

// Adds what the blocks along y make of v, in a slice.
template <typename Real>
void Objective<Real>::addBlocks(int z, const Volume<Real>& v, Volume<Real>& out) const {
  const glm::ivec3 size = v.dimensions();
  const int nx = size.x;
  for (int j = 0; j < size.y; ++j) {
    const int at = v.index(0, j, z);
    const Real* d = diagonal.data() + at;
    const Real* n = next.data() + at;
    const Real* u = v.data() + at;
    Real* o = out.data() + at;
    for (int x = 0; x < nx; ++x) o[x] += d[x] * u[x];
    if (j + 1 < size.y)
      for (int x = 0; x < nx; ++x) o[x] += n[x] * u[x + nx];
    if (j > 0)
      for (int x = 0; x < nx; ++x) o[x] += n[x - nx] * u[x - nx];
  }
}

template <typename Real>
void Objective<Real>::residualChange(const Volume<Real>& v, Volume<Real>& out) const {
  const glm::ivec3 size = model.voxels();
  const int nx = size.x;
  inSlices(inParallel(), size, [&](int from, int to) {
    for (int z = from; z < to; ++z)
      for (int j = 0; j < size.y; ++j) {
        const int voxel = out.index(0, j, z);
        const Real* l = low.data() + voxel;
        const Real* h = high.data() + voxel;
        const Real* u = v.data() + v.index(0, j, z);
        Real* o = out.data() + voxel;
        for (int x = 0; x < nx; ++x) o[x] = h[x] * u[x + nx] - l[x] * u[x];
      }
  });
}

template <typename Real>
void Objective<Real>::addGradientOf(const Volume<Real>& v, Volume<Real>& out) const {
  const glm::ivec3 size = model.voxels();
  const int nx = size.x;
  inSlices(inParallel(), size, [&](int from, int to) {
    for (int z = from; z < to; ++z)
      for (int j = 0; j < size.y; ++j) {
        const int voxel = v.index(0, j, z);
        const Real* w = weight.data() + voxel;
        const Real* change = v.data() + voxel;
        const Real* l = low.data() + voxel;
        const Real* h = high.data() + voxel;
        Real* below = out.data() + out.index(0, j, z);
        Real* above = below + nx;
        for (int x = 0; x < nx; ++x) {
          const Real weighted = w[x] * change[x];
          below[x] -= l[x] * weighted;
          above[x] += h[x] * weighted;
        }
      }
  });
}

template <typename Real>
void Objective<Real>::dataProduct(const Volume<Real>& v, Volume<Real>& out) const {
  Volume<Real> change(model.voxels());
  residualChange(v, change);
  takeRatioFrom(change);
  gradientOf(change, out);
}

template <typename Real>
void Objective<Real>::takeRatioFrom(Volume<Real>& v) const {
  if (!eliminates()) return;
  Volume<Real> part(v.dimensions());
  ratio->change(-ratio->solve(ratio->weighted(v)), part);
  inElements(inParallel(), v.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) v.data()[i] += part.data()[i];
  });
}

template <typename Real>
Volume<Real> Objective<Real>::residualsBesideRatio() const {
  if (!eliminates()) return residual;
  Volume<Real> rest(residual.dimensions());
  ratio->change(-ratio->solve(ratio->gradient()), rest);
  return rest += residual;
}

template <typename Real>
void Objective<Real>::gradientOf(const Volume<Real>& v, Volume<Real>& out) const {
  inElements(inParallel(), out.size(),
             [&](int from, int to) { std::fill(out.data() + from, out.data() + to, Real(0)); });
  addGradientOf(v, out);
}

double sumOf(const std::vector<double>& values) {
  double total = 0.0;
  for (const double value : values) total += value;
  return total;
}

template <typename Real>
double dot(const Volume<Real>& a, const Volume<Real>& b, const Parallel& parallel) {
  std::vector<double> ofRows(static_cast<std::size_t>(a.ny() * a.nz()));
  inSlices(parallel, a.dimensions(), [&](int from, int to) {
    const int at = a.index(0, 0, from), row = from * a.ny();
    dotsOfRows(a.data() + at, b.data() + at, a.nx(), (to - from) * a.ny(), ofRows.data() + row,
               chosenVariant());
  });
  return sumOf(ofRows);
}

template class Objective<float>;
template class Objective<double>;
template double dot(const Volume<float>&, const Volume<float>&, const Parallel&);
template double dot(const Volume<double>&, const Volume<double>&, const Parallel&);

}  // namespace mirel
