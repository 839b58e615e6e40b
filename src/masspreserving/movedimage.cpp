#include "masspreserving/movedimage.h"

#include <algorithm>
#include <cmath>
#include <glm/common.hpp>
#include <glm/geometric.hpp>
#include <glm/vector_relational.hpp>
#include <utility>

#include "numerics/bspline.h"

namespace mirel {

namespace {

// The spline's coefficients vanish outside: a continued border keeps that away from the image.
constexpr int border = 4;

// Of the coefficients' second difference along z. With it the spline of the samples is what a cubic
// B-spline makes of them without being fitted to them.
constexpr double softestBend = 1.0 / 6.0;

// Where along a column the voxel centre at the edge coordinate s of the distorted image comes from.
struct Origin {
  int low, high;  // edges
  double share;   // of the higher
  double y;       // edge coordinate in the undistorted image
  double stretch;
};

// A column along y of a displacement at edges, and the inverse of y -> y + sign b(y), which rises.
class Column {
 public:
  Column(const Volume<float>& edges, double direction, int column, int slice)
      : b(edges), sign(direction), x(column), z(slice), last(edges.ny() - 1) {}

  /// For s no less than in the call before.
  Origin from(double s) {
    if (s < at(0)) return {0, 0, 0.0, s - at(0), 0.0};
    if (s >= last + at(last)) return {last, last, 0.0, s - at(last), 0.0};
    while (j + 2 <= last && j + 1 + at(j + 1) <= s) ++j;
    const double low = j + at(j), high = j + 1 + at(j + 1);
    const double share = std::clamp((s - low) / (high - low), 0.0, 1.0);
    return {j, j + 1, share, j + share, at(j + 1) - at(j)};
  }

 private:
  double at(int edge) const { return sign * static_cast<double>(b.at(x, edge, z)); }

  const Volume<float>& b;
  double sign;
  int x, z, last, j = 0;
};

// Difference quotient of b between the neighbours of a column, per voxel.
double across(const Volume<float>& b, glm::ivec3 low, glm::ivec3 high, const Origin& origin) {
  const auto at = [&](glm::ivec3 p) {
    return (1.0 - origin.share) * static_cast<double>(b.at(p.x, origin.low, p.z)) +
           origin.share * static_cast<double>(b.at(p.x, origin.high, p.z));
  };
  const int steps = (high.x - low.x) + (high.z - low.z);
  return steps > 0 ? (at(high) - at(low)) / steps : 0.0;
}

// The determinant of u -> T u + sign b(u) along y over that without motion.
double relativeDeterminant(const Volume<float>& b, double sign, glm::ivec3 at, const Origin& origin,
                           const glm::dmat3& rotation, const glm::dvec3& mm) {
  const glm::ivec3 top = b.dimensions() - 1;
  const double dx =
      across(b, {std::max(at.x - 1, 0), 0, at.z}, {std::min(at.x + 1, top.x), 0, at.z}, origin);
  const double dz =
      across(b, {at.x, 0, std::max(at.z - 1, 0)}, {at.x, 0, std::min(at.z + 1, top.z)}, origin);
  const glm::dvec3 slope(sign * dx * mm.y / mm.x, origin.stretch, sign * dz * mm.y / mm.z);
  const glm::dvec3 along(rotation[0][1], rotation[1][1], rotation[2][1]);  // R^T y
  return (1.0 + glm::dot(along, slope)) / (1.0 + origin.stretch);
}

}  // namespace

GridPlace placeOf(glm::ivec3 originalVoxels, glm::dvec3 originalMm, glm::ivec3 factor) {
  const glm::dvec3 first =
      0.5 * (glm::dvec3(factor) - 1.0) - 0.5 * (glm::dvec3(originalVoxels) - 1.0);
  return {glm::dvec3(factor) * originalMm, first * originalMm};
}

MovedImage::MovedImage(const Volume<float>& image, const GridPlace& where, Parallel inThreads)
    : parallel(std::move(inThreads)),
      size(image.dimensions()),
      padded(size + 2 * border),
      place(where),
      coefficients(static_cast<std::size_t>(padded.x) * static_cast<std::size_t>(padded.y) *
                   static_cast<std::size_t>(padded.z)) {
  const std::size_t slice = static_cast<std::size_t>(padded.x) * static_cast<std::size_t>(padded.y);
  inSlices(parallel, padded, [&](int from, int to) {
    for (int z = from; z < to; ++z) {
      double* next = coefficients.data() + slice * static_cast<std::size_t>(z);
      for (int y = -border; y < size.y + border; ++y)
        for (int x = -border; x < size.x + border; ++x) {
          const glm::ivec3 p(std::clamp(x, 0, size.x - 1), std::clamp(y, 0, size.y - 1),
                             std::clamp(z - border, 0, size.z - 1));
          const double v = static_cast<double>(image[p]);
          *next++ = std::isfinite(v) ? v : 0.0;
        }
    }
  });
  convertToBSplineCoeff3D(coefficients.data(), padded.x, padded.y, padded.z, parallel);
}

void MovedImage::soften(double share) {
  softened.clear();
  if (!(share > 0.0)) return;
  const double part = softestBend * share;
  const std::size_t slice = static_cast<std::size_t>(padded.x) * static_cast<std::size_t>(padded.y);
  softened = coefficients;
  for (std::size_t i = slice; i + slice < softened.size(); ++i)
    softened[i] += part * ((coefficients[i - slice] - coefficients[i]) +
                           (coefficients[i + slice] - coefficients[i]));
}

double MovedImage::noiseKept(double share) {
  const double beside = softestBend * share, middle = 1.0 - 2.0 * beside;
  return middle * middle + 2.0 * beside * beside;
}

void MovedImage::evaluate(std::vector<double>& spline, const std::vector<glm::dvec3>& voxels,
                          float* values) {
  const std::size_t n = voxels.size();
  std::vector<double> xs(n), ys(n), zs(n), sampled(n);
  const glm::dvec3 top = glm::dvec3(size) - 0.5;
  for (std::size_t i = 0; i < n; ++i) {
    const glm::dvec3 inside = glm::clamp(voxels[i], glm::dvec3(-0.5), top);
    xs[i] = inside.x + border;
    ys[i] = inside.y + border;
    zs[i] = inside.z + border;
  }
  evalBSpline3D(spline.data(), padded.x, padded.y, padded.z, xs.data(), ys.data(), zs.data(),
                static_cast<int>(n), sampled.data());
  for (std::size_t i = 0; i < n; ++i) values[i] = static_cast<float>(sampled[i]);
}

MovedImage::Unmoved MovedImage::unmoved(const RigidMotion& motion, const Volume<float>& b,
                                        double sign) {
  Unmoved result{Volume<float>(size), Volume<unsigned char>(size)};
  inSlices(parallel, size, [&](int from, int to) {
    for (int z = from; z < to; ++z) unmovedSlice(motion, b, sign, z, result);
  });
  return result;
}

void MovedImage::unmovedSlice(const RigidMotion& motion, const Volume<float>& b, double sign, int z,
                              Unmoved& result) {
  const glm::dmat3 rotation = motion.rotation();
  const glm::dvec3 top = glm::dvec3(size) - 0.5;
  std::vector<glm::dvec3> voxels(static_cast<std::size_t>(size.x));
  std::vector<double> factor(voxels.size());
  std::vector<Column> columns;
  for (int x = 0; x < size.x; ++x) columns.emplace_back(b, sign, x, z);
  for (int k = 0; k < size.y; ++k) {
    const int row = result.image.index(0, k, z);
    for (int x = 0; x < size.x; ++x) {
      const std::size_t i = static_cast<std::size_t>(x);
      const double s = k + 0.5;
      const Origin origin = columns[i].from(s);
      glm::dvec3 there = rotation * place.positionMm({x, origin.y - 0.5, z}) + motion.translationMm;
      there.y += (s - origin.y) * place.voxelMm.y;
      const glm::dvec3 v = voxels[i] = (there - place.firstMm) / place.voxelMm;
      const bool covered = glm::all(glm::greaterThanEqual(v, glm::dvec3(-0.5))) &&
                           glm::all(glm::lessThanEqual(v, top));
      result.covered.data()[row + x] = covered ? 1 : 0;
      factor[i] =
          covered ? relativeDeterminant(b, sign, {x, 0, z}, origin, rotation, place.voxelMm) : 0.0;
    }
    evaluate(softened.empty() ? coefficients : softened, voxels, result.image.data() + row);
    for (int x = 0; x < size.x; ++x)
      result.image.data()[row + x] *= static_cast<float>(factor[static_cast<std::size_t>(x)]);
  }
}

Volume<float> MovedImage::through(const RigidMotion& motion) {
  Volume<float> result(size);
  const glm::dmat3 rotation = motion.rotation();
  inSlices(parallel, size, [&](int from, int to) {
    std::vector<glm::dvec3> voxels(static_cast<std::size_t>(size.x));
    for (int z = from; z < to; ++z)
      for (int y = 0; y < size.y; ++y) {
        for (int x = 0; x < size.x; ++x) {
          const glm::dvec3 there = rotation * place.positionMm({x, y, z}) + motion.translationMm;
          voxels[static_cast<std::size_t>(x)] = (there - place.firstMm) / place.voxelMm;
        }
        evaluate(coefficients, voxels, result.data() + result.index(0, y, z));
      }
  });
  return result;
}

}  // namespace mirel
