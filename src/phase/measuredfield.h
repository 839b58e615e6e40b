#pragma once

#include <glm/vec3.hpp>
#include <string>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// A field in Hz made of a measured one, over the whole grid.
struct MeasuredField {
  Volume<float> hz;
  Volume<float> head;   ///< 1 in the head
  int voxels = 0;       ///< whose measurement was used
  int outliers = 0;     ///< measurements in the head's signal that were left out
  int regions = 1;      ///< of the unwrapped phase, brought to the same turns
  double noiseHz = 0;   ///< of a voxel of usual signal, before smoothing
  double medianHz = 0;  ///< in the head
};

/// How much further a phase is than that of the first echo, within half a turn of 0, and how much
/// later, in s (which may be negative).
struct EchoPhase {
  Volume<float> radians;
  double seconds = 0;
};

/// The field of phases that grew from the first echo to each other one, or of a difference of two:
/// unwrapped (unwrap), in Hz, without outliers, smoothed (smoothField) and continued
/// (continuedHarmonically).
///
/// Several  The pair of echoes that are nearest in time is unwrapped in space, and each further
///          one, from the nearest to the farthest, to within half a turn of what the field of those
///          before makes expect (time-wise unwrapping). The field is the slope of the phase over
///          time by least squares, the first echo's noise counting as the others'. A voxel in which
///          one echo has no phase does without it.
/// Outliers are voxels that differ from the median of their neighbours in the head (26 of them) by
///          more than five times their noise and a tenth of a turn.
/// Shapes   magnitude: that of the phases; empty where there is none (headOfPhase)
/// NaN      a voxel without a phase is as one without signal
/// Errors   Error, naming `name`, when no head is found; std::invalid_argument without any phase.
MeasuredField fieldOfEchoes(std::vector<EchoPhase> echoes, const Volume<float>& magnitude,
                            glm::dvec3 voxelMm, const std::string& name);

/// The same of values that are in Hz already and not wrapped. Without a magnitude the head is where
/// they are not 0; outliers are beyond five times their noise and 10 Hz.
MeasuredField fieldOfHertz(const Volume<float>& hz, const Volume<float>& magnitude,
                           glm::dvec3 voxelMm, const std::string& name);

}  // namespace mirel
