#include "cli/motionforms.h"

#include <cmath>
#include <glm/matrix.hpp>

#include "base/numbertext.h"

namespace mirel::motionforms {

namespace {

using Map = glm::dmat4;

Map mapOf(const RigidMotion& motion) {
  Map m(motion.rotation());
  m[3] = glm::dvec4(motion.translationMm, 1.0);
  return m;
}

// Between coordinates in which x and y are reversed.
Map reversed(const Map& m) {
  Map flip(1.0);
  flip[0][0] = flip[1][1] = -1;
  return flip * m * flip;
}

std::string row(const std::vector<double>& numbers, const char* format) {
  std::string line;
  for (const double number : numbers) line += text(format, number) + " ";
  return line + "\n";
}

Map fslMap(const RigidMotion& motion, const GridSize& grid) {
  Map toFsl(1.0);
  toFsl[0][0] = -1;
  toFsl[3] = glm::dvec4(0.5 * (grid.voxels - 1.0) * grid.mm, 1.0);
  return toFsl * glm::inverse(mapOf(motion)) * glm::inverse(toFsl);
}

}  // namespace

std::string phantomRows(const Motions& motions) {
  std::string rows;
  for (const RigidMotion& m : motions)
    rows += row({m.translationMm.x, m.translationMm.y, m.translationMm.z, m.rotationDegrees.x,
                 m.rotationDegrees.y, m.rotationDegrees.z},
                "%.10g");
  return rows;
}

std::string itkText(const Motions& motions) {
  std::string lines = "#Insight Transform File V1.0\n";
  for (std::size_t t = 0; t < motions.size(); ++t) {
    const Map m = reversed(mapOf(motions[t]));
    lines += "#Transform " + std::to_string(t) + "\nTransform: AffineTransform_float_3_3\n" +
             "Parameters: " +
             row({m[0][0], m[1][0], m[2][0], m[0][1], m[1][1], m[2][1], m[0][2], m[1][2], m[2][2],
                  m[3][0], m[3][1], m[3][2]},
                 "%g") +
             "FixedParameters: 0 0 0\n\n";
  }
  return lines;
}

std::string afniRows(const Motions& motions) {
  std::string rows = "# 3dvolreg matrices (DICOM-to-DICOM, row-by-row):\n";
  for (const RigidMotion& motion : motions) {
    const Map m = reversed(mapOf(motion));
    rows += row({m[0][0], m[1][0], m[2][0], m[3][0], m[0][1], m[1][1], m[2][1], m[3][1], m[0][2],
                 m[1][2], m[2][2], m[3][2]},
                "%13.6g");
  }
  return rows;
}

std::string spmRows(const Motions& motions) {
  std::string rows;
  for (const RigidMotion& motion : motions) {
    const Map m = glm::inverse(mapOf(motion));  // m[column][row]
    rows += row({m[3][0], m[3][1], m[3][2], std::atan2(m[2][1], m[2][2]), std::asin(m[2][0]),
                 std::atan2(m[1][0], m[0][0])},
                "%16.7e");
  }
  return rows;
}

std::string fslMatrix(const RigidMotion& motion, const GridSize& grid) {
  const Map m = fslMap(motion, grid);
  std::string rows;
  for (int r = 0; r < 4; ++r) rows += row({m[0][r], m[1][r], m[2][r], m[3][r]}, "%.8f ");
  return rows;
}

std::string fslRows(const Motions& motions, const GridSize& grid, glm::dvec3 centre) {
  std::string rows;
  for (const RigidMotion& motion : motions) {
    const Map m = fslMap(motion, grid);
    const glm::dvec3 t = glm::dvec3(m * glm::dvec4(centre, 1.0)) - centre;
    rows += row({std::atan2(m[2][1], m[2][2]), std::asin(-m[2][0]), std::atan2(m[1][0], m[0][0]),
                 t.x, t.y, t.z},
                "%.7g ");
  }
  return rows;
}

glm::dvec3 fslPlace(glm::dvec3 voxel, const GridSize& grid) {
  voxel.x = grid.voxels.x - 1 - voxel.x;
  return voxel * grid.mm;
}

Motions inverses(const Motions& motions) {
  Motions back;
  for (const RigidMotion& motion : motions) back.push_back(motion.inverse());
  return back;
}

}  // namespace mirel::motionforms
