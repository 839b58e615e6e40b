#pragma once

#include <string>
#include <vector>

#include "support/projectfiles.h"

namespace mirel {

/// What a run of the program left behind. `status` is the exit status, or 1000 + the signal that
/// ended it.
struct ProgramResult {
  int status = -1;
  std::string out;
  std::string err;
};

/// Runs the built `mirel` with these arguments and waits for it. Standard input is empty.
/// @param environment settings such as "NAME=value" on top of the test's own.
ProgramResult runMirel(const std::vector<std::string>& arguments,
                       const std::vector<std::string>& environment = {});

/// The same with another executable and in another folder.
ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& folder,
                         const std::vector<std::string>& environment = {});

/// One of a pair, 24x28x20 voxels: a ball with a pattern, whose voxels around the centre show what
/// lies up to `shiftVoxels` further along y. The other one of the pair has the negated shift.
ProjectSketch distortedBall(float shiftVoxels);

}  // namespace mirel
