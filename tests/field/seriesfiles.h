#pragma once

#include <cmath>
#include <filesystem>
#include <functional>
#include <glm/gtc/matrix_transform.hpp>
#include <string>
#include <vector>

#include "containers/volume.h"
#include "field/grid.h"
#include "nifti/image.h"
#include "support/niftifiles.h"

/// Images for the tests of this folder.
namespace mirel::seriesfiles {

/// A header of floats with this affine.
inline nifti::Header headerOf(glm::ivec3 dims, const glm::dmat4& affine, int volumes = 1) {
  nifti::Header header;
  header.dims = dims;
  header.volumes = volumes;
  header.setAffine(affine, 1);
  header.repetitionTimeSeconds = volumes > 1 ? 2.5 : 0;
  return header;
}

/// Voxels of `mm` along the axes, turned by `degrees` about an oblique axis, voxel 0 at `origin`.
inline glm::dmat4 affineOf(glm::dvec3 mm, double degrees = 0, glm::dvec3 origin = glm::dvec3(0)) {
  glm::dmat4 m = glm::translate(glm::dmat4(1.0), origin);
  m = glm::rotate(m, degrees * std::acos(-1.0) / 180, glm::normalize(glm::dvec3(0.3, -0.5, 0.8)));
  return glm::scale(m, mm);
}

inline Volume<float> filled(glm::ivec3 dims, const std::function<double(int, int, int)>& value) {
  Volume<float> volume(dims);
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) volume.at(x, y, z) = static_cast<float>(value(x, y, z));
  return volume;
}

/// A function of the position in mm, at the voxels of a grid.
inline Volume<float> sampled(const Grid& grid, const std::function<double(glm::dvec3)>& value) {
  return filled(grid.dims, [&](int x, int y, int z) {
    return value(glm::dvec3(grid.affine * glm::dvec4(x, y, z, 1)));
  });
}

/// Smooth values that no symmetry of the grid leaves as they are.
inline Volume<float> smoothImage(glm::ivec3 dims, int t = 0) {
  return filled(dims, [=](int x, int y, int z) {
    return 500 + 300 * std::sin(0.7 * x + 0.3 * t) * std::cos(0.4 * y + 0.2 * z) + 20 * y - 7 * z;
  });
}

inline Volume<float> smoothShift(glm::ivec3 dims) {
  return filled(dims, [](int x, int y, int z) {
    return 1.7 * std::sin(0.3 * y + 0.2) * std::cos(0.35 * x) + 0.1 * z - 0.3;
  });
}

inline void writeImage(const std::string& name, const nifti::Header& header,
                       const std::function<Volume<float>(int)>& volume) {
  nifti::Writer writer(name, header);
  for (int t = 0; t < header.volumes; ++t) writer.write(volume(t));
  writer.finish();
}

inline double largestDifference(const Volume<float>& a, const Volume<float>& b) {
  double largest = a.dimensions() == b.dimensions() ? 0 : INFINITY;
  for (int n = 0; n < a.size() && n < b.size(); ++n)
    largest = std::max(
        largest, std::fabs(static_cast<double>(a.data()[n]) - static_cast<double>(b.data()[n])));
  return largest;
}

/// The folder of the Siemens images; empty when there is none.
inline std::string siemensFolder() {
  const std::string data = niftifiles::dataFolder();
  const std::string folder = data + "/siemens_prisma_dwi_bold_fmap";
  return !data.empty() && std::filesystem::is_directory(folder) ? folder : "";
}

}  // namespace mirel::seriesfiles
