#include "vdm/simplevdmestimate.h"

#include <limits>
#include <utility>

#include "numerics/distance.h"
#include "numerics/vectortransform.h"
#include "numerics/volumegauss.h"
#include "plugin/access/assertion.h"
#include "vdm/vdm.h"

namespace {

constexpr const char* sourceFile = "src/vdm/simplevdmestimate.cpp";
constexpr int passes = 10;
constexpr int maximumSteps = 10;
constexpr double foregroundThreshold = 100.0;
constexpr double requiredImprovement = -0.01;  // percent

// The four columns that a fit reads: smoothed images and their y derivatives.
struct Columns {
  Vector<float> ap, pa, apDerivative, paDerivative;
};

// Parameters of one column: AP read at q*a + b, PA at q/a - b.
struct ColumnModel {
  float a, b;

  Vector<float> apCoordinates(const Vector<float>& q) const {
    return transformCoordinateVector(q, a, b);
  }
  Vector<float> paCoordinates(const Vector<float>& q) const {
    return transformCoordinateVector(q, 1.0f / a, -b);
  }
};

// The Gauss-Newton step that lessens the difference rA - rP. The derivatives hold the intensity
// factors a and 1/a fixed.
Vector<float> gaussNewtonStep(const Columns& columns, const ColumnModel& model,
                              const Vector<float>& q, const Vector<float>& qa,
                              const Vector<float>& qp, const Vector<float>& difference) {
  const float a = model.a;
  const Vector<float> gA = linearCenter(columns.apDerivative, qa);
  const Vector<float> gP = linearCenter(columns.paDerivative, qp);
  Matrix<float> jacobian(q.size(), 2);
  for (int i = 0; i < q.size(); ++i) {
    jacobian.at(i, 0) = ((-1.0f / (a * a)) * ((-1.0f / a) * gP[i]) + gA[i] * a) * q[i];
    jacobian.at(i, 1) = a * gA[i] - (-1.0f / a) * gP[i];
  }
  const Matrix<float> transposed = jacobian.transpose();
  return ((-invert2x2Matrix(transposed * jacobian)) * transposed) * difference;
}

// Whether `cost` lies at least 0.01 percent below `best`; NaN counts as improvement.
bool improves(double cost, double best) {
  return !((cost - best) * 100.0 / best > requiredImprovement);
}

ColumnModel fitColumn(const Columns& columns, const Vector<float>& q, ColumnModel model) {
  double best = std::numeric_limits<double>::max();
  double cost = best;
  Vector<float> step;
  for (int k = 0; k < maximumSteps; ++k) {
    const Vector<float> qa = model.apCoordinates(q), qp = model.paCoordinates(q);
    const Vector<float> rA = linearCenter(columns.ap, qa) * model.a;
    const Vector<float> rP = linearCenter(columns.pa, qp) * (1.0f / model.a);
    cost = ssd_norm_nonbackground(rA, rP);
    if (!improves(cost, best)) break;
    step = gaussNewtonStep(columns, model, q, qa, qp, rA - rP);
    model.a += step[0];
    model.b += step[1];
    best = cost;
  }
  if (cost > best && step.size() == 2) {
    model.a -= step[0];
    model.b -= step[1];
  }
  return model;
}

// Everything that the passes share.
class ColumnwiseFit {
 public:
  ColumnwiseFit(const Volume<float>& ap, const Volume<float>& pa, const glm::dvec3& sigma)
      : apSmooth(getAppliedGauss(ap, sigma, glm::ivec3(0, 0, 0))),
        paSmooth(getAppliedGauss(pa, sigma, glm::ivec3(0, 0, 0))),
        apDerivative(getAppliedGauss(ap, sigma, glm::ivec3(0, 1, 0))),
        paDerivative(getAppliedGauss(pa, sigma, glm::ivec3(0, 1, 0))),
        q(getCoordinateVector<float>(ap.ny())),
        scale(ap.nx(), ap.nz(), 1.0f),
        shift(ap.nx(), ap.nz(), 0.0f),
        weight(ap.nx(), ap.nz(), 1.0f),
        vdm(ap.dimensions(), 0.0f) {}

  void smoothParameters() {
    const Matrix<float> kernel = createGaussianKernel2D<float>(
        glm::ivec2(5, 5), glm::dvec2(1.0, 1.0), glm::ivec2(0, 0), /*wrap=*/false);
    convolve2D(scale, kernel, weight, /*normalize=*/true);
    convolve2D(shift, kernel, weight, /*normalize=*/true);
  }

  void fitAllColumns() {
    for (int z = 0; z < vdm.nz(); ++z)
      for (int x = 0; x < vdm.nx(); ++x) weight.at(x, z) = fitColumnAt(x, z) ? 1.0f : 0.0f;
  }

  Volume<float> result() { return std::move(vdm); }

 private:
  // False for a column without foreground, whose map stays as it is.
  bool fitColumnAt(int x, int z) {
    Columns columns{
        getColumnFromVolume(apSmooth, x, z), getColumnFromVolume(paSmooth, x, z), {}, {}};
    if (!(columns.ap.max() > foregroundThreshold && columns.pa.max() > foregroundThreshold))
      return false;
    columns.apDerivative = getColumnFromVolume(apDerivative, x, z);
    columns.paDerivative = getColumnFromVolume(paDerivative, x, z);
    const ColumnModel model = fitColumn(columns, q, {scale.at(x, z), shift.at(x, z)});
    scale.at(x, z) = model.a;
    shift.at(x, z) = model.b;
    putColumnInVolume((model.apCoordinates(q) - model.paCoordinates(q)) / 2.0f, vdm, x, z);
    return true;
  }

  Volume<float> apSmooth, paSmooth, apDerivative, paDerivative;
  Vector<float> q;
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
