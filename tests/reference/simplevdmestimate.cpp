#include "reference/simplevdmestimate.h"

#include <limits>
#include <ostream>

#include "reference/distance.h"
#include "reference/vdm.h"
#include "reference/vectortransform.h"
#include "reference/volumegauss.h"

namespace mirel::reference {

namespace {

float largest(const Vector<float>& v) {
  if (v.size() == 0) return 0;
  float result = v[0];
  for (int i = 1; i < v.size(); ++i)
    if (v[i] > result) result = v[i];
  return result;
}

Matrix<float> jacobian(const Vector<float>& gA, const Vector<float>& gP, const Vector<float>& q,
                       float a) {
  Matrix<float> J(q.size(), 2);
  for (int i = 0; i < q.size(); ++i) {
    J.at(i, 0) = ((-1.0f / (a * a)) * ((-1.0f / a) * gP[i]) + gA[i] * a) * q[i];
    J.at(i, 1) = a * gA[i] - (-1.0f / a) * gP[i];
  }
  return J;
}

}  // namespace

Fit fitColumn(const ColumnPair& c, Fit start) {
  Vector<float> p(2);
  p[0] = start.a;
  p[1] = start.b;
  Vector<float> step;
  double best = std::numeric_limits<double>::max();
  double cost = best;
  int steps = 0;
  for (; steps < 10; ++steps) {
    const float a = p[0], b = p[1];
    const Vector<float> qa = transformCoordinateVector(c.q, a, b);
    const Vector<float> qp = transformCoordinateVector(c.q, 1 / a, -b);
    const Vector<float> rA = linearCenter(c.apS, qa) * a;
    const Vector<float> rP = linearCenter(c.paS, qp) * (1 / a);
    cost = ssd_norm_nonbackground(rA, rP);
    const double ratio = (cost - best) * 100.0 / best;
    if (ratio > -0.01) break;
    const Matrix<float> J = jacobian(linearCenter(c.apD, qa), linearCenter(c.paD, qp), c.q, a);
    const Matrix<float> Jt = J.transpose();
    step = ((-(invert2x2Matrix(Jt * J))) * Jt) * (rA - rP);
    p += step;
    best = cost;
  }
  if (cost > best && step.size() == 2) p -= step;
  return {p[0], p[1], steps};
}

Vector<float> getColumnFromVolume(const Volume<float>& vol, int row, int slice) {
  Vector<float> column(vol.ny());
  for (int y = 0; y < vol.ny(); ++y) column[y] = vol.at(row, y, slice);
  return column;
}

void putColumnInVolume(const Vector<float>& vec, Volume<float>& vol, int row, int slice) {
  for (int y = 0; y < vol.ny(); ++y) vol.at(row, y, slice) = vec[y];
}

Matrix<float> invert2x2Matrix(const Matrix<float>& m) {
  const float det = m.at(0, 0) * m.at(1, 1) - m.at(0, 1) * m.at(1, 0);
  const float reciprocal = 1 / det;
  Matrix<float> adjugate(2, 2);
  adjugate.at(0, 0) = m.at(1, 1);
  adjugate.at(0, 1) = -m.at(0, 1);
  adjugate.at(1, 0) = -m.at(1, 0);
  adjugate.at(1, 1) = m.at(0, 0);
  return adjugate * reciprocal;
}

Volume<float> simpleVDMestimate(const Volume<float>& vol_ap, const Volume<float>& vol_pa,
                                const glm::dvec3& fitSigma, std::ostream& log) {
  const int nx = vol_ap.nx(), ny = vol_ap.ny(), nz = vol_ap.nz();
  const glm::ivec3 none(0, 0, 0), alongY(0, 1, 0);
  const Volume<float> apS = getAppliedGauss(vol_ap, fitSigma, none);
  const Volume<float> paS = getAppliedGauss(vol_pa, fitSigma, none);
  const Volume<float> apD = getAppliedGauss(vol_ap, fitSigma, alongY);
  const Volume<float> paD = getAppliedGauss(vol_pa, fitSigma, alongY);
  log << "SSD of original AP and PA volumes: " << ssd_norm(vol_ap, vol_pa) << std::flush;

  const Vector<float> q = getCoordinateVector<float>(ny);
  Matrix<float> A(nx, nz, 1.0f), B(nx, nz, 0.0f), W(nx, nz, 1.0f);
  Volume<float> vdm(vol_ap.dimensions(), 0.0f);
  for (int pass = 0; pass < 10; ++pass) {
    if (pass > 0) {
      const Matrix<float> kernel = createGaussianKernel2D<float>(
          glm::ivec2(5, 5), glm::dvec2(1.0, 1.0), glm::ivec2(0, 0), false);
      convolve2D(A, kernel, W, true);
      convolve2D(B, kernel, W, true);
    }
    for (int z = 0; z < nz; ++z)
      for (int x = 0; x < nx; ++x) {
        W.at(x, z) = 0.0f;
        const Vector<float> ap = getColumnFromVolume(apS, x, z);
        const Vector<float> pa = getColumnFromVolume(paS, x, z);
        if (!(largest(ap) > 100.0f && largest(pa) > 100.0f)) continue;
        W.at(x, z) = 1.0f;
        const ColumnPair columns{ap, pa, getColumnFromVolume(apD, x, z),
                                 getColumnFromVolume(paD, x, z), q};
        const Fit fit = fitColumn(columns, {A.at(x, z), B.at(x, z)});
        A.at(x, z) = fit.a;
        B.at(x, z) = fit.b;
        const Vector<float> shift = (transformCoordinateVector(q, fit.a, fit.b) -
                                     transformCoordinateVector(q, 1 / fit.a, -fit.b)) /
                                    2.0f;
        putColumnInVolume(shift, vdm, x, z);
      }
  }

  Volume<float> apR(vol_ap.dimensions()), paR(vol_pa.dimensions());
  applyVdmYLinear(apR, vol_ap, vdm, false);
  applyVdmYLinearReverse(paR, vol_pa, vdm);
  log << "SSD after applying column wise VDM: " << ssd_norm(apR, paR) << std::flush;
  return vdm;
}

}  // namespace mirel::reference
