#pragma once

#include <glm/vec3.hpp>
#include <iosfwd>

#include "containers/matrix.h"
#include "containers/vector.h"
#include "containers/volume.h"

/// The column-wise displacement estimate: scale and shift per column by Gauss-Newton steps.
namespace mirel::reference {

Volume<float> simpleVDMestimate(const Volume<float>& vol_ap, const Volume<float>& vol_pa,
                                const glm::dvec3& fitSigma, std::ostream& log);
Vector<float> getColumnFromVolume(const Volume<float>& vol, int row, int slice);
void putColumnInVolume(const Vector<float>& vec, Volume<float>& vol, int row, int slice);
Matrix<float> invert2x2Matrix(const Matrix<float>& mat);

/// The smoothed columns, their derivatives and the centred row coordinates.
struct ColumnPair {
  Vector<float> apS, paS, apD, paD, q;
};

/// Scale and shift, and how many steps led there.
struct Fit {
  float a, b;
  int steps = 0;
};

/// The fit of one column.
Fit fitColumn(const ColumnPair& c, Fit start);

}  // namespace mirel::reference
