#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "jobs/runrecord.h"

/// A run's record as JSON: what stands in the sidecars of its outputs, and the summary of the run.
namespace mirel {

/// A name by itself, several as a list.
Json oneOrList(const std::vector<std::string>& names);

/// Numbers as a list.
template <typename Number>
Json listOf(const std::vector<Number>& numbers) {
  Json list = Json::array();
  for (const Number number : numbers) list.push_back(number);
  return list;
}

/// A file that was read, with its SHA-256 checksum. Errors: those of sha256Of.
Json fileJson(const FileStamp& file);

/// Translation and rotation of a head.
Json motionJson(const RigidMotion& motion);

/// Adds the sidecars of a file and their checksums; nothing without any.
void addSidecars(Json& json, const std::vector<FileStamp>& files);

/// What every output of a run says about where it comes from: the program and its version, the
/// inputs with their SHA-256 checksums and acquisition, and the options. Reads the inputs' files.
Json originOf(const RunRecord& run);

/// The same for an output of one series, beside the run's `origin`.
Json originOf(const RunRecord& run, const Json& origin, const SeriesRecord& series);

/// Whether what a record says of a series (Mirel, Series) names a table of gradients of the ending
/// ".bvec" or ".bval" among its inputs: it was written beside the result.
bool hadGradients(const Json& series, const std::string& end);

/// What the sidecar of a displacement field says about it: what it is of, and its convention.
std::string warpDescription(const std::string& image);

/// The text of a sidecar: description and units (left out when empty) before the origin.
/// `moreFields` override what is said of every result: that no skull was stripped.
std::string sidecarText(const std::string& description, const std::string& units,
                        const std::vector<std::string>& sources, const Json& origin,
                        const Json& moreFields);

/// The text of dataset_description.json, with links to the datasets of the inputs.
std::string datasetDescription(const std::string& version, const Json& links);

/// The run in one object, for programs. File names need not be UTF-8: bytes that are not become
/// the replacement character.
std::string summaryText(const RunRecord& run);

}  // namespace mirel
