#pragma once

#include "dataset/plan.h"

namespace mirel::dataset {

/// Gives the fields of a plan labels, so that no two of a session have results of the same names:
/// of a pair other than two epi images of one acquisition what kind of images they are and in what
/// their names differ ("Dwi", "EpiBoldTaskRest"), then, where names would still be the same, the
/// field's identifier or the directions of the pair ("APPA"), at last a number.
void labelFields(SubjectPlan& plan);

/// The name of a field's results of a suffix ("fieldmap", "magnitude"), without extension. `label`
/// begins their description (pairResultName).
std::string fieldResultName(const SubjectPlan& plan, const PlannedField& field,
                            const std::string& suffix, const std::string& label = "preproc");

}  // namespace mirel::dataset
