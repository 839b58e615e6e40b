#pragma once

#include "dataset/plan.h"

namespace mirel::dataset {

/// Whether the field is one in Hz; else it is a map in voxels, of unknown readout time.
bool isInHz(const SubjectPlan& plan, const PlannedField& field);

/// A map in voxels fits images of its own readout time alone. Images that it corrects are left
/// where their readout times differ by more than 1 %, with the reason; where they are one time, the
/// map's is taken to be that, with a warning for each.
void settleUnknownReadouts(SubjectPlan& plan);

}  // namespace mirel::dataset
