#pragma once

#include <string>

#include "jobs/runrecord.h"
#include "pair/pairestimate.h"
#include "pair/pairinput.h"

/// What a user is told of a pair and its estimate besides the verdict, in sentences.
namespace mirel {

/// Notes and warnings of the pair as it was read, the verdict's reasons, and what the estimate
/// found: ratio of intensities, places left out, ghosts, motion.
void addRemarks(RunRecord& run, const PairInput& pair, const PairEstimate& estimate);

/// Where the head moved between the images: series are joined where their headers put them, and
/// what the head did in between is not known.
void addMotionDoubt(RunRecord& run, const PairInput& pair, const PairEstimate& estimate);

/// How the pair agrees with the field that corrects it, if that was given.
void addFieldFound(RunRecord& run, const PairInput& pair, const PairEstimate& estimate);

/// How the estimate agrees with the field that it started from, if there was one.
///
/// @param field  its name
void addAgreement(RunRecord& run, const PairInput& pair, const PairEstimate& estimate,
                  const std::string& field);

}  // namespace mirel
