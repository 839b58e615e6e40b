#pragma once

#include <string>

#include "phantom/datasetplan.h"

namespace mirel {

/// Writes a raw BIDS dataset of phantoms into `folder`, which is made if it does not exist:
///
///   dataset_description.json, README, participants.tsv, participants.json
///   sub-01[/ses-01]/fmap   the pair, dir-AP_epi and dir-PA_epi (along x: dir-RL, dir-LR)
///                  /func   task-rest_dir-*_bold with its sbref; not without volumes
///                  /dwi    dir-AP_dwi with .bval and .bvec; dir-PA_dwi of some subjects
///   derivatives/truth      a derivative: see writeSessionTruth
///
/// What subjects differ in: see planSubject. The whole dataset appears at once, in the place of an
/// earlier one whose files all have their counterparts in it. Nothing else is ever replaced or
/// removed.
///
/// Errors  std::invalid_argument for options that make no sense, as makePhantom; Error for a folder
///         that holds anything else, naming the first such file, or that cannot be written to.
void writePhantomDataset(const PhantomDatasetOptions& options, const std::string& folder);

}  // namespace mirel
