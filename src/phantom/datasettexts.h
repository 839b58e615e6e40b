#pragma once

#include <string>

#include "phantom/datasetplan.h"

namespace mirel {

/// The texts at the root of a dataset of phantoms and at that of its truth.

/// What GeneratedBy calls the maker of a dataset: by it an earlier one is known.
inline constexpr const char* datasetMaker = "mirel phantom";

/// dataset_description.json of the raw data and of the truth, which lies in derivatives/truth.
std::string datasetDescription(const PhantomDatasetOptions& options);
std::string truthDescription(const PhantomDatasetOptions& options);

/// README: what there is, and what each subject is.
std::string datasetReadme(const PhantomDatasetOptions& options);
std::string truthReadme();

/// participants.tsv with one line per subject, and the meaning of its columns.
std::string participantsTable(const PhantomDatasetOptions& options);
std::string participantsColumns();

/// .bidsignore of the truth: what has no rule for its name.
std::string truthIgnored();

}  // namespace mirel
