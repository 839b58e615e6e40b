#include "field/grid.h"

#include <algorithm>
#include <cmath>
#include <glm/matrix.hpp>
#include <vector>

#include "base/error.h"
#include "nifti/orientation.h"
#include "numerics/bspline.h"
#include "numerics/interpolation.h"

namespace mirel {

namespace {

constexpr double coincidenceVoxels = 1e-3;

glm::dvec3 mapped(const glm::dmat4& m, int x, int y, int z) {
  return glm::dvec3(m * glm::dvec4(x, y, z, 1));
}

void resampleLinear(Volume<float>& result, const Volume<float>& source, const glm::dmat4& m) {
  for (int z = 0; z < result.nz(); ++z)
    for (int y = 0; y < result.ny(); ++y)
      for (int x = 0; x < result.nx(); ++x)
        result.at(x, y, z) = static_cast<float>(trilinear(source, mapped(m, x, y, z)));
}

void resampleCubic(Volume<float>& result, const Volume<float>& source, const glm::dmat4& m) {
  std::vector<double> coefficients(source.data(), source.data() + source.size());
  const glm::ivec3 n = source.dimensions();
  convertToBSplineCoeff3D(coefficients.data(), n.x, n.y, n.z);
  const std::size_t slice =
      static_cast<std::size_t>(result.nx()) * static_cast<std::size_t>(result.ny());
  std::vector<double> px(slice), py(slice), pz(slice), values(slice);
  for (int z = 0; z < result.nz(); ++z) {
    std::size_t at = 0;
    for (int y = 0; y < result.ny(); ++y)
      for (int x = 0; x < result.nx(); ++x, ++at) {
        const glm::dvec3 p = mapped(m, x, y, z);
        px[at] = std::clamp(p.x, 0.0, n.x - 1.0);
        py[at] = std::clamp(p.y, 0.0, n.y - 1.0);
        pz[at] = std::clamp(p.z, 0.0, n.z - 1.0);
      }
    evalBSpline3D(coefficients.data(), n.x, n.y, n.z, px.data(), py.data(), pz.data(),
                  static_cast<int>(slice), values.data());
    std::transform(values.begin(), values.end(), &result.at(0, 0, z),
                   [](double v) { return static_cast<float>(v); });
  }
}

}  // namespace

Grid gridOf(const nifti::Header& header) { return {header.dims, header.affine()}; }

glm::dmat4 voxelToVoxel(const glm::dmat4& from, const glm::dmat4& to, const std::string& name) {
  bool finite = true;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 3; ++row)
      finite = finite && std::isfinite(to[column][row]) && std::isfinite(from[column][row]);
  if (!finite) throw Error(name, "has an orientation matrix that is not finite");
  const glm::dvec3 size = nifti::columnLengths(to);
  if (!(std::fabs(glm::determinant(glm::dmat3(to))) > 1e-9 * size.x * size.y * size.z))
    throw Error(name, "has an orientation matrix that is singular");
  return glm::inverse(to) * from;
}

double cornersApart(const Grid& a, const Grid& b, const std::string& name) {
  const glm::dmat4 m = voxelToVoxel(a.affine, b.affine, name);
  double farthest = 0;
  for (int corner = 0; corner < 8; ++corner) {
    const glm::ivec3 p((corner & 1) != 0 ? a.dims.x - 1 : 0, (corner & 2) != 0 ? a.dims.y - 1 : 0,
                       (corner & 4) != 0 ? a.dims.z - 1 : 0);
    const glm::dvec3 off = glm::abs(mapped(m, p.x, p.y, p.z) - glm::dvec3(p));
    farthest = std::max({farthest, off.x, off.y, off.z});
  }
  return farthest;
}

bool coincide(const Grid& a, const Grid& b) {
  if (a.dims != b.dims) return false;
  if (a.affine == b.affine) return true;
  return cornersApart(a, b, "the grid") < coincidenceVoxels;
}

Volume<float> coverage(const Grid& target, const Grid& source, const std::string& name) {
  const glm::dmat4 m = voxelToVoxel(target.affine, source.affine, name);
  const auto within = [](double v, int n) { return v > -0.5 && v < n - 0.5; };
  Volume<float> covered(target.dims);
  for (int z = 0; z < target.dims.z; ++z)
    for (int y = 0; y < target.dims.y; ++y)
      for (int x = 0; x < target.dims.x; ++x) {
        const glm::dvec3 p = mapped(m, x, y, z);
        const bool on =
            within(p.x, source.dims.x) && within(p.y, source.dims.y) && within(p.z, source.dims.z);
        covered.at(x, y, z) = on ? 1.0f : 0.0f;
      }
  return covered;
}

Volume<float> resampleTo(const Grid& target, const Volume<float>& source, const glm::dmat4& affine,
                         const std::string& name, Interpolation interpolation) {
  const glm::dmat4 m = voxelToVoxel(target.affine, affine, name);
  if (coincide(target, {source.dimensions(), affine})) return source;
  Volume<float> result(target.dims);
  if (interpolation == Interpolation::linear)
    resampleLinear(result, source, m);
  else
    resampleCubic(result, source, m);
  return result;
}

}  // namespace mirel
