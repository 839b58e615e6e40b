#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include "base/assertion.h"
#include "containers/exchange.h"
#include "numerics/volumegauss.h"
#include "simd/valuekernels.h"
#include "vdm/resamplingkernels.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

constexpr const char* sourceFile = "src/vdm/vdm.cpp";

constexpr int splineLine = 69;

// The first two of three checks, at consecutive line codes.
void requireDimensions(glm::ivec3 dst, glm::ivec3 src, glm::ivec3 vdm, int line) {
  require(dst == src, sourceFile, line, "dst.dimensions() == src.dimensions()");
  require(vdm == src, sourceFile, line + 1, "vdm.dimensions() == src.dimensions()");
}

template <typename T>
void requireResamplable(const Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm,
                        int line) {
  requireDimensions(dst.dimensions(), src.dimensions(), vdm.dimensions(), line);
  require(&dst != &src, sourceFile, line + 2, "&dst != &src");
}

template <typename T>
T linearAlongY(const Volume<T>& src, const Volume<float>& vdm, glm::ivec3 p, bool reverse) {
  const float s = reverse ? -1.0f : 1.0f;
  return src.linear(static_cast<float>(p.x), vdm[p] * s + static_cast<float>(p.y),
                    static_cast<float>(p.z));
}

ResamplingSlice sliceOf(Volume<float>& dst, const Volume<float>& src, const Volume<float>& vdm,
                        int z, bool reverse) {
  return {&src.at(0, 0, z), &vdm.at(0, 0, z), src.nx(), src.ny(), reverse, &dst.at(0, 0, z)};
}

void resampleNegativeZeros(Volume<float>& dst, const Volume<float>& src, const Volume<float>& vdm,
                           int z, bool reverse) {
  for (int y = 0; y < dst.ny(); ++y)
    for (int x = 0; x < dst.nx(); ++x)
      if (dst.at(x, y, z) == 0 && std::signbit(dst.at(x, y, z)))
        dst.at(x, y, z) = linearAlongY(src, vdm, {x, y, z}, reverse);
}

// At whole x and z the neighbours along x and z weigh 0, so that only the column counts, unless
// such a neighbour is infinite or NaN: then false, and nothing is done. Their zeros can turn a
// result of -0 into +0; these few are computed in full.
bool resampledFast(Volume<float>& dst, const Volume<float>& src, const Volume<float>& vdm,
                   bool reverse) {
  const SimdVariant variant = chosenVariant();
  if (src.size() == 0 || !allFinite(src.data(), src.size(), variant)) return false;
  for (int z = 0; z < src.nz(); ++z)
    if (resampleSliceLinear(sliceOf(dst, src, vdm, z, reverse), variant))
      resampleNegativeZeros(dst, src, vdm, z, reverse);
  return true;
}

glm::ivec3 transposed(glm::ivec3 dims) { return {dims.y, dims.x, dims.z}; }

// For phase encoding along x, whose map lies in the transposed image: slice by slice, so that the
// transposed slices stay in the cache.
Volume<float> appliedAlongX(const Volume<float>& vdm, const Volume<float>& volume,
                            bool intensityCorrection) {
  requireDimensions(vdm.dimensions(), transposed(volume.dimensions()), vdm.dimensions(),
                    splineLine);
  Volume<float> result(transposed(vdm.dimensions()));
  if (result.size() == 0) return result;
  Volume<float> slice(vdm.nx(), vdm.ny(), 1), resampled(slice.dimensions());
  Volume<float> jacobian;
  if (intensityCorrection) jacobian = getSimpleYDerivative(vdm) + 1.0f;
  SplineResampling spline(vdm.ny(), chosenVariant());
  for (int z = 0; z < vdm.nz(); ++z) {
    transposeSlice(&volume.at(0, 0, z), volume.nx(), volume.ny(), slice.data());
    spline.resampleSlice(
        {slice.data(), &vdm.at(0, 0, z), vdm.nx(), vdm.ny(), /*reverse=*/false, resampled.data()});
    if (intensityCorrection)
      for (int i = 0; i < slice.size(); ++i) resampled.data()[i] *= (&jacobian.at(0, 0, z))[i];
    transposeSlice(resampled.data(), vdm.nx(), vdm.ny(), &result.at(0, 0, z));
  }
  return result;
}

}  // namespace

template <typename T>
void applyVdmYLinear(Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm, bool reverse) {
  requireResamplable(dst, src, vdm, 13);
  if constexpr (std::is_same_v<T, float>)
    if (resampledFast(dst, src, vdm, reverse)) return;
  for (int z = 0; z < src.nz(); ++z)
    for (int y = 0; y < src.ny(); ++y)
      for (int x = 0; x < src.nx(); ++x)
        dst.at(x, y, z) = linearAlongY(src, vdm, {x, y, z}, reverse);
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
  requireResamplable(dst, src, vdm, splineLine);
  if (src.size() == 0) return;
  SplineResampling spline(src.ny(), chosenVariant());
  for (int z = 0; z < src.nz(); ++z) spline.resampleSlice(sliceOf(dst, src, vdm, z, reverse));
}

void applyVdmYSplineReverse(Volume<float>& dst, const Volume<float>& src,
                            const Volume<float>& vdm) {
  applyVdmYSpline(dst, src, vdm, /*reverse=*/true);
}

Volume<float> applyVdm(const Volume<float>& vdm, const Volume<float>& volume, bool rllr,
                       bool intensityCorrection) {
  if (rllr) return appliedAlongX(vdm, volume, intensityCorrection);
  Volume<float> result(vdm.dimensions());
  applyVdmYSpline(result, volume, vdm, /*reverse=*/false);
  if (intensityCorrection) result *= getSimpleYDerivative(vdm) + 1.0f;
  return result;
}

template void applyVdmYLinear(Volume<float>&, const Volume<float>&, const Volume<float>&, bool);
template void applyVdmYLinear(Volume<double>&, const Volume<double>&, const Volume<float>&, bool);
template void applyVdmYLinearReverse(Volume<float>&, const Volume<float>&, const Volume<float>&);
template void applyVdmYLinearReverse(Volume<double>&, const Volume<double>&, const Volume<float>&);

}  // namespace mirel
