#include "masspreserving/objective.h"

#include <cmath>
#include <limits>

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

// Residual and barrier terms; with a gradient also the blocks of the Hessian.
template <typename Real>
double Objective<Real>::addDataTerms(const Volume<Real>& b, Volume<Real>* gradient) {
  const glm::ivec3 size = model.voxels();
  const int nx = size.x;
  double total = 0.0;
  if (gradient != nullptr) {
    gradient->setAll(Real(0));
    diagonal.setAll(Real(0));
    next.setAll(Real(0));
  }
  for (int z = 0; z < size.z; ++z)
    for (int j = 0; j < size.y; ++j) {
      const int voxel = residual.index(0, j, z), below = b.index(0, j, z), above = below + nx;
      double rowTotal = 0.0;
      for (int x = 0; x < nx; ++x) {
        const double r = residual.data()[voxel + x], w = weight.data()[voxel + x];
        const Barrier barrier(static_cast<double>(b.data()[above + x]) - b.data()[below + x]);
        rowTotal += 0.5 * w * r * r + barrier.value;
        if (gradient == nullptr) continue;
        const double s0 = low.data()[voxel + x], s1 = high.data()[voxel + x];
        gradient->data()[below + x] -= static_cast<Real>(w * r * s0 + barrier.first);
        gradient->data()[above + x] += static_cast<Real>(w * r * s1 + barrier.first);
        diagonal.data()[below + x] += static_cast<Real>(w * s0 * s0 + barrier.second);
        diagonal.data()[above + x] += static_cast<Real>(w * s1 * s1 + barrier.second);
        next.data()[below + x] = static_cast<Real>(-w * s0 * s1 - barrier.second);
      }
      total += rowTotal;
    }
  return total;
}

template <typename Real>
double Objective<Real>::roughnessOf(const Volume<Real>& b, const Roughness<Real>& form) {
  if (priorMean.size() == 0) {
    form.apply(b, rough, scratch);
    return dot(b, rough);
  }
  Volume<Real> beside = b;
  beside -= priorMean;
  form.apply(beside, rough, scratch);
  return dot(beside, rough);
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
  gradient += rough;
  if (eliminates()) {
    ratio->linearise(weight, residual, mean);
    ratio->change(-ratio->solve(ratio->gradient()), voxelScratch);
    addGradientOf(voxelScratch, gradient);
  }
  return data + priors;
}

template <typename Real>
void Objective<Real>::product(const Volume<Real>& v, Volume<Real>& out) {
  roughness.apply(v, out, scratch);
  const glm::ivec3 size = v.dimensions();
  const int nx = size.x;
  for (int z = 0; z < size.z; ++z)
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
  if (!eliminates()) return;
  residualChange(v, voxelScratch);
  ratio->change(-ratio->solve(ratio->weighted(voxelScratch)), voxelScratch);
  addGradientOf(voxelScratch, out);
}

template <typename Real>
void Objective<Real>::residualChange(const Volume<Real>& v, Volume<Real>& out) const {
  const glm::ivec3 size = model.voxels();
  const int nx = size.x;
  for (int z = 0; z < size.z; ++z)
    for (int j = 0; j < size.y; ++j) {
      const int voxel = out.index(0, j, z), edge = v.index(0, j, z);
      const Real* u = v.data() + edge;
      for (int x = 0; x < nx; ++x)
        out.data()[voxel + x] = high.data()[voxel + x] * u[x + nx] - low.data()[voxel + x] * u[x];
    }
}

template <typename Real>
void Objective<Real>::addGradientOf(const Volume<Real>& v, Volume<Real>& out) const {
  const glm::ivec3 size = model.voxels();
  const int nx = size.x;
  for (int z = 0; z < size.z; ++z)
    for (int j = 0; j < size.y; ++j) {
      const int voxel = v.index(0, j, z), edge = out.index(0, j, z);
      Real* o = out.data() + edge;
      for (int x = 0; x < nx; ++x) {
        const Real weighted = weight.data()[voxel + x] * v.data()[voxel + x];
        o[x] -= low.data()[voxel + x] * weighted;
        o[x + nx] += high.data()[voxel + x] * weighted;
      }
    }
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
  v += part;
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
  out.setAll(Real(0));
  addGradientOf(v, out);
}

template <typename Real>
double dot(const Volume<Real>& a, const Volume<Real>& b) {
  return dotOfRows(a.data(), b.data(), a.nx(), a.ny() * a.nz(), chosenVariant());
}

template class Objective<float>;
template class Objective<double>;
template double dot(const Volume<float>&, const Volume<float>&);
template double dot(const Volume<double>&, const Volume<double>&);

}  // namespace mirel
