#include "phase/harmonic.h"

#include <cmath>
#include <utility>

#include "masspreserving/conjugategradients.h"
#include "masspreserving/roughness.h"
#include "phase/fieldsolver.h"
#include "phase/nearest.h"
#include "phase/voxelweights.h"

namespace mirel {

Volume<float> continuedHarmonically(const Volume<float>& field, glm::dvec3 voxelMm) {
  const glm::ivec3 dims = field.dimensions();
  const Roughness<double> roughness(dims, relativeSize(voxelMm), 1, 0);
  const auto isKnown = [&](int n) { return !std::isnan(field.data()[n]); };
  const auto laplacian = [&](const Volume<double>& f, Volume<double>& out) {
    roughness.laplacian(f, out);
    for (int n = 0; n < out.size(); ++n)
      if (isKnown(n)) out.data()[n] = 0;
  };
  Volume<double> known(dims, 0.0), rhs(dims, 0.0), rest = nearestValues(field);
  for (int n = 0; n < field.size(); ++n)
    if (isKnown(n)) std::swap(known.data()[n], rest.data()[n]);
  laplacian(known, rhs);
  rhs = -rhs;
  const auto asItIs = [](const Volume<double>& v, Volume<double>& out) { out = v; };
  improveSolution<double>(laplacian, asItIs, rhs, rest, fieldTolerance, mostFieldSteps);
  Volume<float> result = field;
  for (int n = 0; n < result.size(); ++n)
    if (!isKnown(n)) result.data()[n] = static_cast<float>(rest.data()[n]);
  return result;
}

}  // namespace mirel
