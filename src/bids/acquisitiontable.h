#pragma once

#include <glm/vec3.hpp>
#include <string>
#include <vector>

#include "bids/phaseencoding.h"
#include "nifti/header.h"

/// The table of acquisitions that topup, applytopup and eddy read (--datain, --acqp).
namespace mirel::bids {

/// One row: "x y z seconds", a unit vector along the phase-encoding axis, and the total readout
/// time from the centre of the first echo to that of the last one.
struct TableRow {
  glm::dvec3 vector{0};
  double seconds = 0;
  int number = 0;  ///< of its line in the table without empty lines, from 1
};

/// Reads a table of rows of four numbers each; empty lines do not count.
///
/// Errors  Error, naming the file and the row: it cannot be read or has no rows; a row of other
///         than four numbers; a vector that is not 1 long to 0.01, or not along one axis; a readout
///         time that is none (checkReadout).
std::vector<TableRow> readAcquisitionTable(const std::string& fileName);

/// Whether the first component of a row counts against the first axis of an image: those programs
/// work on images whose first axis runs from right to left ("radiological", a negative determinant
/// of the orientation) and reverse it in those where it does not. Without an orientation (both
/// codes 0) an image is taken to be radiological.
bool countsFirstAxisBackwards(const nifti::Header& header);

/// The direction of a row in terms of the axes of the image as it is stored.
PhaseEncodingDirection directionIn(const nifti::Header& header, const TableRow& row);

}  // namespace mirel::bids
