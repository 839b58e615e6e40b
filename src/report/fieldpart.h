#pragma once

#include <optional>
#include <string>

#include "report/displacement.h"
#include "report/views.h"

namespace mirel::report {

/// A displacement map as the page shows it.
struct ShownField {
  std::string title, note;
  const Volume<float>& anatomy;
  picture::Window window;         ///< of the anatomy
  const Volume<float>& shift;     ///< voxels
  const Volume<float>& stretch;   ///< of the shift
  const Volume<float>& measured;  ///< 1 where there was signal
  glm::dmat4 affine{1.0};
  double voxelMm = 1;                  ///< along the phase-encoding axis
  std::optional<double> hzPerVoxel{};  ///< of the field, with its sign; nothing: not known
};

/// The map in the unit of its colours: Hz where that is known, else voxels.
struct ColouredField {
  Volume<float> map;
  std::string unit;
  float limit = 1;  ///< full colour
};

ColouredField colouredField(const ShownField& field);

/// Views, colour bar in all units that are known, histogram, and displacement against axial slice.
/// The colours are those of the field in Hz where that is known, else of the displacement.
Json fieldPart(const Views& views, const ShownField& field, const ColouredField& coloured);

}  // namespace mirel::report
