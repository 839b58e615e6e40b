#include "reference/vdm.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <set>

#include "reference/bspline.h"
#include "reference/interpolation.h"
#include "reference/volumegauss.h"

namespace mirel::reference {

namespace {

using Column = std::vector<float>;

// One scan over a column; the number of adjustments that changed something.
int scan(Column& v) {
  int adjustments = 0;
  for (std::size_t y = 0; y + 1 < v.size(); ++y) {
    if (!(std::abs(v[y] - v[y + 1]) > 1.0f)) continue;
    const float before[2] = {v[y], v[y + 1]};
    if (v[y] > v[y + 1]) {
      v[y] -= 0.05f;
      v[y + 1] += 0.05f;
    } else {
      v[y] += 0.05f;
      v[y + 1] -= 0.05f;
    }
    if (v[y] != before[0] || v[y + 1] != before[1]) ++adjustments;
  }
  return adjustments;
}

std::vector<std::uint32_t> bits(const Column& v) {
  std::vector<std::uint32_t> result;
  for (const float value : v) result.push_back(std::bit_cast<std::uint32_t>(value));
  return result;
}

// Scans until one changes nothing, or until the column is back in a state it was in before.
int smoothColumn(Column& v) {
  std::set<std::vector<std::uint32_t>> seen;  // bit patterns: NaN has no order
  int total = 0;
  for (;;) {
    if (!seen.insert(bits(v)).second) return total;
    const int adjustments = scan(v);
    if (adjustments == 0) return total;
    total += adjustments;
  }
}

// The first index with m[i] > t, by halving.
int upperBound(const Column& m, float t) {
  int first = 0;
  int length = static_cast<int>(m.size());
  while (length > 0) {
    const int half = length / 2;
    const int mid = first + half;
    if (t < m[static_cast<std::size_t>(mid)]) {
      length = half;
    } else {
      first = mid + 1;
      length = length - half - 1;
    }
  }
  return first;
}

}  // namespace

template <typename T>
void applyVdmYLinear(Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm, bool reverse) {
  const float s = reverse ? -1.0f : 1.0f;
  for (int z = 0; z < src.nz(); ++z)
    for (int y = 0; y < src.ny(); ++y)
      for (int x = 0; x < src.nx(); ++x)
        dst.at(x, y, z) =
            trilinear(src, static_cast<float>(x), vdm.at(x, y, z) * s + static_cast<float>(y),
                      static_cast<float>(z));
}

template <typename T>
void applyVdmYLinearReverse(Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm) {
  applyVdmYLinear(dst, src, vdm, true);
}

void applyVdmYSpline(Volume<float>& dst, const Volume<float>& src, const Volume<float>& vdm,
                     bool reverse) {
  const int nx = src.nx(), ny = src.ny(), nz = src.nz();
  Volume<double> samples(nx, ny, nz, 0.0), coefficients(nx, ny, nz, 0.0);
  Volume<double> X(nx, ny, nz), Y(nx, ny, nz), Z(nx, ny, nz);
  for (int z = 0; z < nz; ++z)
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < nx; ++x) {
        samples.at(x, y, z) = src.at(x, y, z);
        const float shift = reverse ? -vdm.at(x, y, z) : vdm.at(x, y, z);
        const float position = shift + static_cast<float>(y);
        X.at(x, y, z) = x;
        Y.at(x, y, z) = position;
        Z.at(x, y, z) = z;
      }
  computeBSplineCoeff3D(samples.data(), nx, ny, nz, coefficients.data());
  evalBSpline3D(coefficients.data(), nx, ny, nz, X.data(), Y.data(), Z.data(), nx * ny * nz,
                samples.data());
  for (int i = 0; i < nx * ny * nz; ++i) dst.data()[i] = static_cast<float>(samples.data()[i]);
}

void applyVdmYSplineReverse(Volume<float>& dst, const Volume<float>& src,
                            const Volume<float>& vdm) {
  applyVdmYSpline(dst, src, vdm, true);
}

void applyVdmPlusLocalYLinearFast(Volume<float>& dst, const Volume<float>& src,
                                  const Volume<float>& vdm, const std::vector<glm::ivec3>& voxels,
                                  const Volume<float>& localVdm,
                                  const std::vector<glm::ivec3>& localVoxels, float factor,
                                  bool reverse) {
  const float s = reverse ? -1.0f : 1.0f;
  const int ny = src.ny();
  for (std::size_t k = 0; k < voxels.size(); ++k) {
    const int x = voxels[k].x, y = voxels[k].y, z = voxels[k].z;
    const float p =
        static_cast<float>(y) + (localVdm[localVoxels[k]] * factor + vdm.at(x, y, z)) * s;
    if (p > 0 && p < static_cast<float>(ny - 1)) {
      const int i0 = static_cast<int>(p);
      const float f = p - static_cast<float>(i0);
      int i1 = static_cast<int>(p + 1.0f);
      if (i1 > ny - 1) i1 = ny - 1;
      dst.at(x, y, z) = f * src.at(x, i1, z) + (1 - f) * src.at(x, i0, z);
    }
  }
}

void applyVdmPlusLocalYLinearReverseFast(Volume<float>& dst, const Volume<float>& src,
                                         const Volume<float>& vdm,
                                         const std::vector<glm::ivec3>& voxels,
                                         const Volume<float>& localVdm,
                                         const std::vector<glm::ivec3>& localVoxels, float factor) {
  applyVdmPlusLocalYLinearFast(dst, src, vdm, voxels, localVdm, localVoxels, factor, true);
}

Volume<float> invertVDM(const Volume<float>& vdm) {
  Volume<float> inv(vdm.dimensions(), 0.0f);
  const int n = vdm.ny();
  for (int z = 0; z < vdm.nz(); ++z)
    for (int x = 0; x < vdm.nx(); ++x) {
      Column m;
      for (int j = 0; j < n; ++j) m.push_back(static_cast<float>(j) + vdm.at(x, j, z));
      for (int row = 0; row < n; ++row) {
        const float t = static_cast<float>(row);
        const int i = upperBound(m, t);
        if (i < 1 || i > n - 1) continue;
        const float above = m[static_cast<std::size_t>(i)];
        const float below = m[static_cast<std::size_t>(i) - 1];
        inv.at(x, row, z) =
            (((above - t) * static_cast<float>(i - 1) + (t - below) * static_cast<float>(i)) /
             (above - below)) -
            t;
      }
    }
  return inv;
}

int nrOfErrorsInVDM(const Volume<float>& vdm) {
  int errors = 0;
  for (int z = 0; z < vdm.nz(); ++z)
    for (int y = 0; y <= vdm.ny() - 2; ++y)
      for (int x = 0; x < vdm.nx(); ++x)
        if (std::abs(vdm.at(x, y + 1, z) - vdm.at(x, y, z)) > 1.0f) ++errors;
  return errors;
}

int smoothErrors(Volume<float>& vdm) {
  int total = 0;
  for (int z = 0; z < vdm.nz(); ++z)
    for (int x = 0; x < vdm.nx(); ++x) {
      Column column;
      for (int y = 0; y < vdm.ny(); ++y) column.push_back(vdm.at(x, y, z));
      total += smoothColumn(column);
      for (int y = 0; y < vdm.ny(); ++y) vdm.at(x, y, z) = column[static_cast<std::size_t>(y)];
    }
  return total;
}

int indexLowestAbsoluteValue(const std::vector<float>& values) {
  std::size_t lowest = 0;
  for (std::size_t i = 1; i < values.size(); ++i)
    if (std::abs(values[i]) < std::abs(values[lowest])) lowest = i;
  return static_cast<int>(lowest);
}

void correctIntensities(Volume<float>& apOut, Volume<float>& paOut, const Volume<float>& apIn,
                        const Volume<float>& paIn, const Volume<float>& vdm) {
  const Volume<float> d = getSimpleYDerivative(invertVDM(vdm));
  Volume<float> wAp(apIn.dimensions());
  applyVdmYLinear(wAp, (-d) + 1.0f, vdm, false);
  apOut = apIn * wAp;
  Volume<float> wPa(paIn.dimensions());
  applyVdmYLinearReverse(wPa, d + 1.0f, vdm);
  paOut = paIn * wPa;
}

Volume<float> applyVdm(const Volume<float>& vdm, const Volume<float>& volume, bool rllr,
                       bool intensityCorrection) {
  Volume<float> r(vdm.dimensions());
  applyVdmYSpline(r, rllr ? volume.transposeXY() : volume, vdm, false);
  if (intensityCorrection) r *= getSimpleYDerivative(vdm) + 1.0f;
  return rllr ? r.transposeXY() : r;
}

template void applyVdmYLinear(Volume<float>&, const Volume<float>&, const Volume<float>&, bool);
template void applyVdmYLinear(Volume<double>&, const Volume<double>&, const Volume<float>&, bool);
template void applyVdmYLinearReverse(Volume<float>&, const Volume<float>&, const Volume<float>&);
template void applyVdmYLinearReverse(Volume<double>&, const Volume<double>&, const Volume<float>&);

}  // namespace mirel::reference
