#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "jobs/correctpair.h"

namespace mirel {

using Json = nlohmann::ordered_json;

/// A name by itself, several as a list.
Json oneOrList(const std::vector<std::string>& names);

/// What every output's sidecar says about where it comes from: the program and its version, the
/// inputs with their SHA-256 checksums and acquisition, and the options of the estimate.
Json recordOf(const CorrectionOptions& options, const PairInput& pair,
              const PairEstimate& estimate);

/// The record of one series, to stand beside that of the pair.
Json recordOf(const SeriesResult& series);

/// The text of a sidecar: description and units (left out when empty) before the record.
std::string sidecarText(const std::string& description, const std::string& units,
                        const std::vector<std::string>& sources, const Json& record,
                        const Json& moreFields = Json::object());

/// The text of dataset_description.json.
std::string datasetDescription(const std::string& version);

/// The report in one object, for programs.
Json summaryOf(const CorrectionReport& report);

}  // namespace mirel
