#include <cstddef>

#include "numerics/bspline.h"
#include "numerics/volumegauss.h"
#include "plugin/access/assertion.h"
#include "vdm/vdm.h"

namespace {

constexpr const char* sourceFile = "src/vdm/vdm.cpp";

// Three checks in this order, at consecutive line codes.
template <typename T>
void requireResamplable(const Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm,
                        int line) {
  require(dst.dimensions() == src.dimensions(), sourceFile, line,
          "dst.dimensions() == src.dimensions()");
  require(vdm.dimensions() == src.dimensions(), sourceFile, line + 1,
          "vdm.dimensions() == src.dimensions()");
  require(&dst != &src, sourceFile, line + 2, "&dst != &src");
}

}  // namespace

template <typename T>
void applyVdmYLinear(Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm, bool reverse) {
  requireResamplable(dst, src, vdm, 13);
  const float s = reverse ? -1.0f : 1.0f;
  for (int z = 0; z < src.nz(); ++z)
    for (int y = 0; y < src.ny(); ++y)
      for (int x = 0; x < src.nx(); ++x)
        dst.at(x, y, z) =
            src.linear(static_cast<float>(x), vdm.at(x, y, z) * s + static_cast<float>(y),
                       static_cast<float>(z));
}

template <typename T>
void applyVdmYLinearReverse(Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm) {
  applyVdmYLinear(dst, src, vdm, /*reverse=*/true);
}

void applyVdmPlusLocalYLinearFast(Volume<float>& dst, const Volume<float>& src,
                                  const Volume<float>& vdm, const std::vector<glm::ivec3>& voxels,
                                  const Volume<float>& localVdm,
                                  const std::vector<glm::ivec3>& localVoxels, float factor,
                                  bool reverse) {
  requireResamplable(dst, src, vdm, 40);
  const float s = reverse ? -1.0f : 1.0f;
  const int ny = src.ny();
  const float lastRow = static_cast<float>(ny - 1);
  for (std::size_t k = 0; k < voxels.size(); ++k) {
    const glm::ivec3 v = voxels[k];
    const float p = static_cast<float>(v.y) + (localVdm[localVoxels[k]] * factor + vdm[v]) * s;
    if (!(p > 0 && p < lastRow)) continue;
    const int i0 = static_cast<int>(p);
    // Just below a whole number p + 1 rounds up to the next one, in tall images past the last row.
    const int rounded = static_cast<int>(p + 1.0f);
    const int i1 = rounded < ny ? rounded : ny - 1;
    const float f = p - static_cast<float>(i0);
    dst[v] = f * src.at(v.x, i1, v.z) + (1 - f) * src.at(v.x, i0, v.z);
  }
}

void applyVdmPlusLocalYLinearReverseFast(Volume<float>& dst, const Volume<float>& src,
                                         const Volume<float>& vdm,
                                         const std::vector<glm::ivec3>& voxels,
                                         const Volume<float>& localVdm,
                                         const std::vector<glm::ivec3>& localVoxels, float factor) {
  applyVdmPlusLocalYLinearFast(dst, src, vdm, voxels, localVdm, localVoxels, factor,
                               /*reverse=*/true);
}

void applyVdmYSpline(Volume<float>& dst, const Volume<float>& src, const Volume<float>& vdm,
                     bool reverse) {
  requireResamplable(dst, src, vdm, 69);
  const glm::ivec3 dims = src.dimensions();
  Volume<double> samples(dims), coefficients(dims, 0.0);
  for (int i = 0; i < src.size(); ++i) samples.data()[i] = static_cast<double>(src.data()[i]);
  computeBSplineCoeff3D(samples.data(), dims.x, dims.y, dims.z, coefficients.data());
  Volume<double> px(dims), py(dims), pz(dims);
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) {
        const float shift = reverse ? -vdm.at(x, y, z) : vdm.at(x, y, z);
        px.at(x, y, z) = x;
        py.at(x, y, z) = static_cast<double>(shift + static_cast<float>(y));
        pz.at(x, y, z) = z;
      }
  evalBSpline3D(coefficients.data(), dims.x, dims.y, dims.z, px.data(), py.data(), pz.data(),
                src.size(), samples.data());
  for (int i = 0; i < dst.size(); ++i) dst.data()[i] = static_cast<float>(samples.data()[i]);
}

void applyVdmYSplineReverse(Volume<float>& dst, const Volume<float>& src,
                            const Volume<float>& vdm) {
  applyVdmYSpline(dst, src, vdm, /*reverse=*/true);
}

Volume<float> applyVdm(const Volume<float>& vdm, const Volume<float>& volume, bool rllr,
                       bool intensityCorrection) {
  Volume<float> result(vdm.dimensions());
  applyVdmYSpline(result, rllr ? volume.transposeXY() : volume, vdm, /*reverse=*/false);
  if (intensityCorrection) result *= getSimpleYDerivative(vdm) + 1.0f;
  return rllr ? result.transposeXY() : result;
}

template void applyVdmYLinear(Volume<float>&, const Volume<float>&, const Volume<float>&, bool);
template void applyVdmYLinear(Volume<double>&, const Volume<double>&, const Volume<float>&, bool);
template void applyVdmYLinearReverse(Volume<float>&, const Volume<float>&, const Volume<float>&);
template void applyVdmYLinearReverse(Volume<double>&, const Volume<double>&, const Volume<float>&);
