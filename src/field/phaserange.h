#pragma once

#include <span>

namespace mirel {

/// A scale on which scanners and converters store phases: v means (v - zero) * radiansPerUnit.
struct PhaseRange {
  const char* name;        ///< what notes call it: "0 .. 4095"
  double lowest, highest;  ///< what a phase can be; both ends are the same one
  double slack;            ///< so near to both ends it comes in a whole image
  double zero, radiansPerUnit;
};

/// All that are known:
///
///   0 .. 4095        12 bits as they are stored, half of it being no phase
///   -4096 .. 4094    the same with slope 2 and intercept -4096
///   -2048 .. 2047    the same with intercept -2048
///   -3142 .. 3142    thousandths of a radian
///   -pi .. pi, 0 .. 2 pi    radians
std::span<const PhaseRange> phaseRanges();

/// The scale that an image from `least` to `greatest` fills; null when there is none.
const PhaseRange* filledPhaseRange(double least, double greatest);

}  // namespace mirel
