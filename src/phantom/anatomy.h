#pragma once

#include <array>
#include <cstdint>
#include <glm/vec3.hpp>

namespace mirel {

enum class Tissue : std::uint8_t {
  outside,  ///< air around the head
  cavity,   ///< air inside the head: sinuses, airway, ear canals, mastoid cells
  scalp,
  bone,
  softTissue,  ///< muscle and what else fills face and neck
  fat,         ///< of the orbits, dark under fat suppression
  eye,
  csf,  ///< around the brain, in sulci and ventricles
  grey,
  white,
};

/// The drawing of a head that a phantom is sampled from: a function of position, so that it can
/// be sampled as finely as needed, moved and continued beyond the field of view.
///
/// Positions are canonical millimetres: origin in the middle of a field of view of
/// 216 x 249.6 x 144 mm, x to the right, y anterior, z superior. The head is an adult's, covered
/// from the vertex to below the cerebellum; its neck goes on below the field of view. The seed
/// moves the pattern of folds; the large anatomy is the same for every seed.
class Anatomy {
 public:
  static constexpr std::array<double, 3> fieldOfViewMm{216.0, 249.6, 144.0};

  explicit Anatomy(std::uint64_t seed);

  Tissue tissueAt(glm::dvec3 p) const;

  /// As `tissueAt`, but all of the brain is white matter: what only needs the susceptibility is
  /// spared the folds.
  Tissue coarseTissueAt(glm::dvec3 p) const;

  /// Signal of a spin-echo EPI image, arbitrary units: white matter 740, grey matter 1000,
  /// cerebrospinal fluid 1480, bone 40, air 0.
  static float signal(Tissue tissue);

  /// Volume susceptibility in parts per million against the surrounding air.
  static double susceptibilityPpm(Tissue tissue);

  static bool isBrain(Tissue tissue) { return tissue == Tissue::grey || tissue == Tissue::white; }

 private:
  Tissue brainTissue(glm::dvec3 p, double depthMm) const;

  std::array<double, 6> phase{};
};

}  // namespace mirel
