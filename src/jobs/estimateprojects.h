#pragma once

#include <ostream>

#include "projects/projectpair.h"

/// The whole job of `mirel estimate --estimator mass-preserving`.
namespace mirel {

/// Estimates the maps of two projects by the method that conserves signal (masspreserving.h) and
/// writes what estimateProjectPair does, maps as files (mapfile.h).
///
/// @param estimateMotion  also look for a motion of the head between the images
/// @param log  gets whole messages without line feeds, each flushed: the steps, and with
///   `estimateMotion` how the head moved, along and about the axes of the projects
/// @throws Error for a map that cannot be written, when none of them is, and those of
///   estimateProjectPair; files written before stay.
void estimateProjectsMassPreserving(const ProjectPair& pair, bool estimateMotion,
                                    std::ostream& log);

}  // namespace mirel
