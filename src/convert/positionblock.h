#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <string>

/// Where the voxels of a project lie in the scanner: its position block, and the affine matrix
/// of a NIfTI image.
namespace mirel::convert {

/// The numbers of a project's "PositionInformationFromImageHeaders" block, in mm, in patient
/// coordinates as scanners give them: x towards left, y towards posterior, z towards superior
/// (the first two axes are the negatives of NIfTI's).
///
///   RowDir        unit vector along a row: the direction of increasing x
///   ColDir        unit vector along a column: the direction of increasing y
///   Slice1Center  centre of the first slice: the position of ((nx-1)/2, (ny-1)/2, 0)
///   SliceNCenter  centre of the last slice: the position of ((nx-1)/2, (ny-1)/2, nz-1)
///   NRows, NCols  ny and nx
///   FoVRows       extent of the rows together, ny * dy;  FoVCols = nx * dx
///   SliceThickness + GapThickness   distance between slice centres; a NIfTI image knows no
///                 gap, so that the thickness is all of it
///   CoordinateSystem   1: the coordinates above
///
/// x, y and z of a project are i, j and k of the image: nothing is flipped, so that phase
/// encoding along j is phase encoding along y.
struct PositionBlock {
  int coordinateSystem = 1;
  glm::dvec3 slice1Center{0};
  glm::dvec3 sliceNCenter{0};
  glm::dvec3 rowDir{0};
  glm::dvec3 colDir{0};
  int nRows = 0;
  int nCols = 0;
  double fovRows = 0;
  double fovCols = 0;
  double sliceThickness = 0;
  double gapThickness = 0;
};

/// The position block of an image of these dimensions (all at least 1). Any affine will do whose
/// columns are not degenerate, a sheared one included: row, column and slice directions are
/// stored independently. Throws Error, naming `fileName`, when an entry is not finite or
/// the determinant is 0 (below 1e-9 times the product of the column lengths).
PositionBlock toPositionBlock(const glm::dmat4& affine, glm::ivec3 dims,
                              const std::string& fileName);

/// The affine of a position block: voxel (x, y, z) to mm, in NIfTI's axes.
///
///   column 0 = RowDir * FoVCols / NCols        column 1 = ColDir * FoVRows / NRows
///   column 2 = (SliceNCenter - Slice1Center) / (nSlices - 1)
///
/// Row and column directions are brought to unit length. With one slice, or with two centres at
/// the same place, column 2 is cross(RowDir, ColDir) * (SliceThickness + GapThickness). A single
/// slice of a left-handed image thus returns with the other normal (its voxels stay in place).
/// The length of column 2 is that thickness, too, where the two agree to 1e-4, because it has
/// fewer digits to lose.
///
/// Accuracy  headers carry 6 significant digits; with centres within 1000 mm of the origin every
///           voxel comes back to within 2e-3 mm (5e-4 mm within 100 mm).
/// Errors    Error, naming `fileName`: a direction of length 0, a size that is not
///           positive, a number that is not finite.
glm::dmat4 toAffine(const PositionBlock& block, int nSlices, const std::string& fileName);

/// Whether two blocks look the same in a header: every number agrees in 6 significant digits.
bool sameInHeader(const PositionBlock& a, const PositionBlock& b);

/// "Neurological" where x grows towards the patient's right, "Radiological" where it does not.
std::string leftRightConvention(const glm::dmat4& affine);

}  // namespace mirel::convert
