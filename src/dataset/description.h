#pragma once

#include <string>

namespace mirel::dataset {

/// Makes a folder a dataset of derivatives: dataset_description.json, which names the program and
/// links to the raw dataset, and .bidsignore for results that no rule of the standard allows. Each
/// is written whole, and only where it is not there with the same bytes: runs side by side on one
/// folder do not disturb each other.
/// Errors  Error: the folder cannot be written to, or holds the description of another dataset.
void describeOutput(const std::string& dataset, const std::string& output,
                    const std::string& version);

/// Writes a text file whole where it is not there with the same bytes. What killed runs left in its
/// folder is gone afterwards.
void writeIfDifferent(const std::string& file, const std::string& text);

}  // namespace mirel::dataset
