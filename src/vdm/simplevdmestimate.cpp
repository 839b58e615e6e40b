#include "vdm/simplevdmestimate.h"

#include <algorithm>
#include <utility>

#include "base/assertion.h"
#include "numerics/distance.h"
#include "numerics/volumegauss.h"
#include "vdm/columnfitkernels.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

constexpr const char* sourceFile = "src/vdm/simplevdmestimate.cpp";
constexpr int passes = 10;
constexpr double foregroundThreshold = 100.0;

// The maxima of a volume's columns as `Vector::max` has them, found row by row.
Matrix<float> columnMaxima(const Volume<float>& v) {
  Matrix<float> maxima(v.nx(), v.nz(), 0.0f);
  if (v.size() == 0) return maxima;
  for (int z = 0; z < v.nz(); ++z) {
    float* largest = &maxima.at(0, z);
    std::copy_n(&v.at(0, 0, z), v.nx(), largest);
    for (int y = 1; y < v.ny(); ++y) {
      const float* row = &v.at(0, y, z);
      for (int x = 0; x < v.nx(); ++x) largest[x] = largest[x] < row[x] ? row[x] : largest[x];
    }
  }
  return maxima;
}

// Per column, 1 where the maxima of both images exceed the threshold, else 0.
Matrix<float> foregroundColumns(const Volume<float>& ap, const Volume<float>& pa) {
  Matrix<float> foreground = columnMaxima(ap);
  const Matrix<float> other = columnMaxima(pa);
  for (int i = 0; i < foreground.size(); ++i)
    foreground.data()[i] =
        foreground.data()[i] > foregroundThreshold && other.data()[i] > foregroundThreshold ? 1.0f
                                                                                            : 0.0f;
  return foreground;
}

// Everything that the passes share.
class ColumnwiseFit {
 public:
  ColumnwiseFit(const Volume<float>& ap, const Volume<float>& pa, const glm::dvec3& sigma)
      : apSmooth(getAppliedGauss(ap, sigma, glm::ivec3(0, 0, 0))),
        paSmooth(getAppliedGauss(pa, sigma, glm::ivec3(0, 0, 0))),
        apDerivative(getAppliedGauss(ap, sigma, glm::ivec3(0, 1, 0))),
        paDerivative(getAppliedGauss(pa, sigma, glm::ivec3(0, 1, 0))),
        scale(ap.nx(), ap.nz(), 1.0f),
        shift(ap.nx(), ap.nz(), 0.0f),
        // The foreground does not change between the passes, and with it the weights.
        weight(foregroundColumns(apSmooth, paSmooth)),
        vdm(ap.dimensions(), 0.0f) {}

  void smoothParameters() {
    const Matrix<float> kernel = createGaussianKernel2D<float>(
        glm::ivec2(5, 5), glm::dvec2(1.0, 1.0), glm::ivec2(0, 0), /*wrap=*/false);
    convolve2D(scale, kernel, weight, /*normalize=*/true);
    convolve2D(shift, kernel, weight, /*normalize=*/true);
  }

  void fitAllColumns() {
    if (vdm.size() == 0) return;
    const SimdVariant variant = chosenVariant();
    for (int z = 0; z < vdm.nz(); ++z)
      fitColumns({&apSmooth.at(0, 0, z), &paSmooth.at(0, 0, z), &apDerivative.at(0, 0, z),
                  &paDerivative.at(0, 0, z), vdm.nx(), vdm.ny(), &weight.at(0, z), &scale.at(0, z),
                  &shift.at(0, z), &vdm.at(0, 0, z)},
                 variant);
  }

  Volume<float> result() { return std::move(vdm); }

 private:
  Volume<float> apSmooth, paSmooth, apDerivative, paDerivative;
  Matrix<float> scale, shift, weight;
  Volume<float> vdm;
};

}  // namespace

Volume<float> simpleVDMestimate(const Volume<float>& vol_ap, const Volume<float>& vol_pa,
                                const glm::dvec3& fitSigma, std::ostream& log) {
  require(vol_ap.dimensions() == vol_pa.dimensions(), sourceFile, 65,
          "vol_ap.dimensions() == vol_pa.dimensions()");
  ColumnwiseFit fit(vol_ap, vol_pa, fitSigma);
  log << "SSD of original AP and PA volumes: " << ssd_norm(vol_ap, vol_pa) << std::flush;
  for (int pass = 0; pass < passes; ++pass) {
    if (pass > 0) fit.smoothParameters();
    fit.fitAllColumns();
  }
  Volume<float> vdm = fit.result();
  Volume<float> ap(vol_ap.dimensions()), pa(vol_pa.dimensions());
  applyVdmYLinear(ap, vol_ap, vdm, /*reverse=*/false);
  applyVdmYLinearReverse(pa, vol_pa, vdm);
  log << "SSD after applying column wise VDM: " << ssd_norm(ap, pa) << std::flush;
  return vdm;
}

Vector<float> getColumnFromVolume(const Volume<float>& vol, int row, int slice) {
  require(row < vol.nx() && slice < vol.nz(), sourceFile, 27, "row < vol.nx() && slice < vol.nz()");
  Vector<float> column(vol.ny(), 0.0f);
  if (row < 0 || slice < 0) return column;
  for (int y = 0; y < vol.ny(); ++y) column[y] = vol.at(row, y, slice);
  return column;
}

void putColumnInVolume(const Vector<float>& vec, Volume<float>& vol, int row, int slice) {
  require(vec.size() == vol.ny(), sourceFile, 38, "vec.size() == vol.ny()");
  require(row < vol.nx() && slice < vol.nz(), sourceFile, 39, "row < vol.nx() && slice < vol.nz()");
  if (row < 0 || slice < 0) return;
  for (int y = 0; y < vol.ny(); ++y) vol.at(row, y, slice) = vec[y];
}

Matrix<float> invert2x2Matrix(const Matrix<float>& mat) {
  require(mat.columns() == 2 && mat.rows() == 2, sourceFile, 47,
          "mat.columns() == 2 && mat.rows() == 2");
  const float determinant = mat.at(0, 0) * mat.at(1, 1) - mat.at(0, 1) * mat.at(1, 0);
  const float reciprocal = 1.0f / determinant;
  Matrix<float> inverse(2, 2);
  inverse.at(0, 0) = reciprocal * mat.at(1, 1);
  inverse.at(0, 1) = reciprocal * -mat.at(0, 1);
  inverse.at(1, 0) = reciprocal * -mat.at(1, 0);
  inverse.at(1, 1) = reciprocal * mat.at(0, 0);
  return inverse;
}

}  // namespace mirel
