#include "phantom/anatomy.h"

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>
#include <numbers>

#include "phantom/random.h"

namespace mirel {

namespace {

struct Ellipsoid {
  glm::dvec3 centre, radii;
};

// Depth below the surface in mm, negative outside: exact to first order near the surface.
double depth(const Ellipsoid& e, glm::dvec3 p) {
  const glm::dvec3 q = (p - e.centre) / e.radii;
  const double k0 = glm::length(q);
  const double k1 = glm::length(q / e.radii);
  return k1 > 0.0 ? k0 * (1.0 - k0) / k1 : std::min({e.radii.x, e.radii.y, e.radii.z});
}

bool inside(const Ellipsoid& e, glm::dvec3 p) {
  const glm::dvec3 q = (p - e.centre) / e.radii;
  return glm::dot(q, q) < 1.0;
}

// Everything is drawn for the right half and mirrored, but for the folds.
glm::dvec3 mirrored(glm::dvec3 p) { return {std::abs(p.x), p.y, p.z}; }

constexpr double skullCentreY = -4.0, skullCentreZ = -6.0;
const Ellipsoid nose{{0, 91, -44}, {10, 10, 15}};

// Depth below the skin: an ellipsoid above the level of the eyes, a long one that narrows into
// the neck below.
double depthBelowSkin(glm::dvec3 p) {
  glm::dvec3 q(p.x, p.y - skullCentreY, p.z - skullCentreZ);
  const double low = std::clamp((-40.0 - p.z) / 70.0, 0.0, 1.0);
  const double back = q.y < 0.0 ? 1.0 - 0.35 * low * low * (3.0 - 2.0 * low) : 1.0;
  const Ellipsoid head{{0, 0, 0}, {80.0, 98.0 * back, q.z >= 0.0 ? 72.0 : 170.0}};
  return std::max(depth(head, q), depth(nose, p));
}

const Ellipsoid temporalLobe{{42, 8, -34}, {20, 38, 20}};
const Ellipsoid cerebellum{{16, -50, -43}, {32, 29, 21}};
const Ellipsoid vermis{{0, -48, -42}, {20, 26, 18}};

double depthInCerebrum(glm::dvec3 p) {
  const double height = p.z >= skullCentreZ ? 56.0 : 26.0;
  const Ellipsoid cerebrum{{0, skullCentreY, skullCentreZ}, {64, 82, height}};
  return std::max(depth(cerebrum, p), depth(temporalLobe, mirrored(p)));
}

double depthInCerebellum(glm::dvec3 p) {
  return std::max(depth(cerebellum, mirrored(p)), depth(vermis, p));
}

double depthInBrainStem(glm::dvec3 p) {
  if (p.z > -15.0) return -1e3;
  const double slope = (p.z + 15.0) / 75.0;  // runs backwards on its way down
  return 12.5 + 2.0 * slope - std::hypot(p.x, p.y + 20.0 - 12.0 * slope);
}

const std::array<Ellipsoid, 7> cavities{{
    {{11, 85.5, -10}, {10, 4.5, 10}},  // frontal sinus
    {{0, 58, -37}, {11, 16, 8}},       // ethmoid cells
    {{0, 30, -44}, {13, 12, 8}},       // sphenoid sinus
    {{29, 58, -66}, {11, 13, 11}},     // maxillary sinus
    {{0, 56, -58}, {7, 17, 9}},        // nose
    {{72, -8, -47}, {14, 4, 4}},       // ear canal
    {{58, -28, -55}, {7, 8, 9}},       // mastoid cells
}};
const Ellipsoid pharynx{{0, 18, -92}, {11, 8, 28}};

bool inCavity(glm::dvec3 p) {
  const glm::dvec3 q = mirrored(p);
  return inside(pharynx, q) || std::any_of(cavities.begin(), cavities.end(),
                                           [q](const Ellipsoid& e) { return inside(e, q); });
}

bool inVentricle(glm::dvec3 p) {
  const glm::dvec3 q = mirrored(p);
  // The body of the lateral ventricle arches over the thalamus.
  const double along = (p.y + 6.0) / 34.0;
  const glm::dvec3 arched(q.x - 3.0 * along * along, q.y, q.z + 9.0 * along * along);
  static const Ellipsoid body{{8, -6, 14}, {5, 34, 5.5}};
  static const Ellipsoid posteriorHorn{{22, -44, 2}, {4.5, 15, 5.5}};
  static const Ellipsoid temporalHorn{{33, 0, -30}, {3, 14, 3}};
  static const Ellipsoid third{{0, -8, -2}, {2.2, 12, 9}};
  static const Ellipsoid fourth{{0, -36, -36}, {6, 5, 8}};
  return inside(body, arched) || inside(posteriorHorn, q) || inside(temporalHorn, q) ||
         inside(third, q) || inside(fourth, q);
}

bool inDeepGrey(glm::dvec3 p) {
  const glm::dvec3 q = mirrored(p);
  static const Ellipsoid thalamus{{11, -14, 1}, {8, 14, 8}};
  static const Ellipsoid putamen{{27, 4, -1}, {5.5, 18, 10}};
  static const Ellipsoid caudate{{13, 16, 8}, {4.5, 14, 8}};
  return inside(thalamus, q) || inside(putamen, q) || inside(caudate, q);
}

// Distance in mm, roughly, to the next sheet of a gyroid surface of period `periodMm`.
double sheetDistance(glm::dvec3 p, double periodMm) {
  const double a = 2.0 * std::numbers::pi / periodMm;
  const glm::dvec3 q = p * a;
  const double g =
      std::sin(q.x) * std::cos(q.y) + std::sin(q.y) * std::cos(q.z) + std::sin(q.z) * std::cos(q.x);
  return std::abs(g) / (1.4 * a);
}

}  // namespace

Anatomy::Anatomy(std::uint64_t seed) {
  const RandomStream random(seed, 0x616e61746f6d79ULL);
  for (std::size_t i = 0; i < phase.size(); ++i)
    phase[i] = 2.0 * std::numbers::pi * random.uniform(i);
}

Tissue Anatomy::coarseTissueAt(glm::dvec3 p) const {
  const double belowSkin = depthBelowSkin(p);
  if (belowSkin <= 0.0) return Tissue::outside;
  const double inBrain = std::max({depthInCerebrum(p), depthInCerebellum(p), depthInBrainStem(p)});
  if (inBrain > 0.0) return Tissue::white;
  if (inBrain > -2.6) return Tissue::csf;
  if (inCavity(p)) return Tissue::cavity;
  static const Ellipsoid eyeball{{32, 74, -33}, {12, 12, 12}};
  static const Ellipsoid orbit{{32, 66, -33}, {18, 26, 17}};
  if (inside(eyeball, mirrored(p))) return Tissue::eye;
  if (belowSkin < 6.0) return Tissue::scalp;
  if (inBrain > -9.5) return Tissue::bone;
  if (inside(orbit, mirrored(p))) return Tissue::fat;
  return Tissue::softTissue;
}

Tissue Anatomy::tissueAt(glm::dvec3 p) const {
  const Tissue coarse = coarseTissueAt(p);
  if (coarse != Tissue::white) return coarse;
  const double cerebrumDepth = depthInCerebrum(p);
  const double cerebellumDepth = depthInCerebellum(p);
  if (inVentricle(p)) return Tissue::csf;
  if (cerebrumDepth > 0.0) return brainTissue(p, cerebrumDepth);
  if (cerebellumDepth > 0.0 && depthInBrainStem(p) < 0.0) {
    const glm::dvec3 folia(p.x * 0.35, p.y, p.z);
    const double sheet = sheetDistance(folia, 15.0);
    if (cerebellumDepth < 12.0 && sheet < 0.5) return Tissue::csf;
    return cerebellumDepth < 14.0 && sheet < 2.4 ? Tissue::grey : Tissue::white;
  }
  return Tissue::white;
}

Tissue Anatomy::brainTissue(glm::dvec3 p, double depthMm) const {
  if (inDeepGrey(p)) return Tissue::grey;
  // The fissure between the hemispheres ends at the corpus callosum.
  const double coreY = (p.y + 6.0) / 46.0, coreZ = (p.z + 2.0) / 24.0;
  const bool overCore = coreY * coreY + coreZ * coreZ > 1.0;
  const double fromMiddle = overCore ? std::abs(p.x + 1.5 * std::sin(0.05 * p.y + phase[0])) : 1e3;
  if (fromMiddle < 1.3) return Tissue::csf;

  const double d = std::min(depthMm, fromMiddle - 1.3);
  if (d > 24.0) return Tissue::white;
  // Warped sheets stand for the sulci; they close as they go deep.
  const glm::dvec3 warped(p.x + 5.0 * std::sin(0.070 * p.y + phase[1]) + 8.0 * phase[4],
                          p.y + 5.0 * std::sin(0.080 * p.z + phase[2]) + 8.0 * phase[5],
                          p.z + 5.0 * std::sin(0.075 * p.x + phase[3]));
  const double sheet = sheetDistance(warped, 29.0);
  const double halfWidth = 1.3 * (1.0 - d / 19.0);
  if (sheet < halfWidth) return Tissue::csf;
  const double ribbon = 3.0 * std::min(1.0, (24.0 - d) / 6.0);
  return d < 3.0 || sheet < std::max(halfWidth, 0.0) + ribbon ? Tissue::grey : Tissue::white;
}

float Anatomy::signal(Tissue tissue) {
  switch (tissue) {
    case Tissue::outside:
    case Tissue::cavity:
      return 0.0F;
    case Tissue::scalp:
      return 330.0F;
    case Tissue::bone:
      return 40.0F;
    case Tissue::softTissue:
      return 260.0F;
    case Tissue::fat:
      return 110.0F;
    case Tissue::eye:
      return 1500.0F;
    case Tissue::csf:
      return 1480.0F;
    case Tissue::grey:
      return 1000.0F;
    case Tissue::white:
      return 740.0F;
  }
  return 0.0F;
}

double Anatomy::susceptibilityPpm(Tissue tissue) {
  switch (tissue) {
    case Tissue::outside:
    case Tissue::cavity:
      return 0.0;
    case Tissue::bone:
      return -10.4;
    case Tissue::fat:
      return -8.6;
    default:
      return -9.4;
  }
}

}  // namespace mirel
