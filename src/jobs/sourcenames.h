#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "base/json.h"

namespace mirel {

/// What the records of one folder call the files that results were made of, in their field Sources:
///
///   bids::sub-01/fmap/sub-01_dir-AP_epi.nii.gz      in the dataset that the record stands in
///   bids:raw:sub-01/fmap/sub-01_dir-AP_epi.nii.gz   in a dataset that this one has a link to
///   ../session1/AP.nii.gz                           otherwise, relative to the record
///
/// They do not depend on the folder in which the program is run, nor on how the user named a file.
/// Source  Brain Imaging Data Structure, "Common principles: BIDS URI", "Derived dataset".
class SourceNames {
 public:
  /// Whether the folder gets a description of its own, with links to the datasets of the inputs.
  enum class Description { kept, written };

  /// @param folder  of the records; need not exist yet
  /// @param inputs  of the run, to link to their datasets where the description is written
  SourceNames(const std::string& folder, const std::vector<std::string>& inputs,
              Description description);

  std::string of(const std::string& file) const;

  /// For the field DatasetLinks of the description: names and places relative to the folder.
  Json links() const;

 private:
  void linkTo(const std::vector<std::string>& inputs);
  void readLinks();

  std::filesystem::path folder;
  std::filesystem::path root;  ///< of the dataset that the records are in; empty: of none
  std::vector<std::pair<std::string, std::filesystem::path>> linked;
};

/// Whether a run may make a folder a dataset of derivatives by writing a dataset_description.json
/// into it: not within a dataset, whose sidecars would no longer be found, and not around inputs.
bool mayDescribe(const std::string& folder, const std::vector<std::string>& inputs);

}  // namespace mirel
