#include "motion/fsltransforms.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <glm/matrix.hpp>
#include <set>

#include "base/error.h"
#include "bids/acquisitiontable.h"
#include "field/grid.h"
#include "motion/numberrows.h"

namespace mirel {

namespace {

constexpr const char* prefix = "MAT_";

bool isMatrixName(const std::string& name) {
  return name.starts_with(prefix) && name.size() >= 8 &&
         name.find_first_not_of("0123456789", 4) == std::string::npos;
}

}  // namespace

glm::dmat4 fslFromScanner(const nifti::Header& header, const std::string& name) {
  const glm::dvec3 edges = header.voxelSizeMm;
  glm::dmat4 fromVoxels(1.0);
  for (int axis = 0; axis < 3; ++axis) fromVoxels[axis][axis] = edges[axis];
  if (bids::countsFirstAxisBackwards(header)) {
    fromVoxels[0][0] = -edges.x;
    fromVoxels[3][0] = (header.dims.x - 1) * edges.x;
  }
  return fromVoxels * voxelToVoxel(glm::dmat4(1.0), header.affine(), name);
}

std::vector<std::string> fslMatrixFiles(const std::string& folder) {
  namespace fs = std::filesystem;
  std::set<std::string> names;
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, failure))
    if (const std::string name = entry.path().filename().string(); isMatrixName(name))
      names.insert(name);
  if (failure) throw Error(folder, "cannot be read: " + failure.message());
  if (names.empty())
    throw Error(folder, "is a folder without transforms: there is no MAT_0000 in it");
  std::vector<std::string> files;
  for (std::size_t t = 0; t < names.size(); ++t) {
    char expected[32];
    std::snprintf(expected, sizeof expected, "%s%04zu", prefix, t);
    if (!names.contains(expected))
      throw Error(folder, std::string("has no ") + expected + ", but " + *names.rbegin());
    files.push_back((fs::path(folder) / expected).string());
  }
  return files;
}

glm::dmat4 readFslMatrix(const std::string& fileName) {
  const std::vector<std::vector<double>> rows = numbersOf(readTransformWords(fileName), fileName);
  if (rows.size() != 4 || rows.front().size() != 4)
    throw Error(fileName, "is no transform: it has not four rows of four numbers");
  if (rows[3] != std::vector<double>{0, 0, 0, 1})
    throw Error(fileName, "is no transform: its last row is not 0 0 0 1");
  glm::dmat4 m;
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 4; ++column)
      m[column][row] = rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
  return m;
}

glm::dmat4 fslMatrixOf(const std::vector<double>& row, glm::dvec3 centre) {
  const auto cosine = [&](std::size_t n) { return std::cos(row[n]); };
  const auto sine = [&](std::size_t n) { return std::sin(row[n]); };
  // By columns.
  const glm::dmat3 rx(1, 0, 0, 0, cosine(0), -sine(0), 0, sine(0), cosine(0));
  const glm::dmat3 ry(cosine(1), 0, sine(1), 0, 1, 0, -sine(1), 0, cosine(1));
  const glm::dmat3 rz(cosine(2), -sine(2), 0, sine(2), cosine(2), 0, 0, 0, 1);
  const glm::dmat3 r = rx * ry * rz;
  glm::dmat4 m(r);
  m[3] = glm::dvec4(centre - r * centre + glm::dvec3(row[3], row[4], row[5]), 1.0);
  return m;
}

}  // namespace mirel
