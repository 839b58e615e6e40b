#pragma once

#include <map>
#include <string>
#include <vector>

#include "base/advice.h"
#include "bids/inheritance.h"
#include "bids/name.h"

namespace mirel::dataset {

/// An image (.nii, .nii.gz) of a dataset.
struct IndexedImage {
  std::string path;  ///< from the root on: "sub-01/ses-1/func/sub-01_ses-1_task-rest_bold.nii.gz"
  bids::Name name;
  std::string subject, session;  ///< labels of its folders; the session may be empty
  std::string datatype;          ///< the folder that it lies in: "func"
  std::string fault;  ///< a sentence that goes on after the file's name; empty for a good one

  std::string suffix() const { return name.suffix; }
  /// The value of an entity of the name; empty where there is none.
  std::string entity(const std::string& key) const;
};

/// A JSON file that may describe images.
struct IndexedSidecar {
  std::string path;
  bids::Name name;
};

/// The files of a raw dataset that matter here.
struct Index {
  std::string root;                   ///< as it was given, without a slash at its end
  std::vector<std::string> subjects;  ///< labels, sorted
  std::vector<IndexedImage> images;   ///< sorted by path
  std::map<std::string, std::vector<IndexedSidecar>> sidecars;  ///< by folder; "" is the root
  std::map<std::string, std::string> scans;  ///< paths of the tables of scans by folder
  bool isDescribed = false;                  ///< there is a dataset_description.json
  std::vector<Remark> warnings;

  std::string fileOf(const std::string& path) const { return root + "/" + path; }
  /// The JSON files that describe an image by the inheritance principle, the farthest first, as
  /// bids::applicableSidecars finds them: in a dataset without a description only those of the
  /// image's own folder.
  /// Errors  Error: that of bids::chooseSidecar.
  std::vector<std::string> sidecarsOf(const IndexedImage& image) const;
  /// As bids::sidecarsPassedOver finds them.
  std::vector<std::string> sidecarsPassedOver(const IndexedImage& image) const;

 private:
  std::vector<bids::SidecarChoice> choicesFor(const IndexedImage& image) const;
};

/// Lists a raw dataset: what lies in its folders sub-LABEL, at whatever depth, and the JSON files
/// at its root. Left out are what .bidsignore names, hidden files, and with that derivatives,
/// sourcedata and code. Links to folders are followed, but not in circles. Faults of single images
/// stand with these:
///
///   a link that leads nowhere (a dataset kept with datalad whose contents were not fetched)
///   an image that is there twice, as .nii and as .nii.gz
///   an image whose name tells another subject or session than its folders
///
/// Warnings  no dataset_description.json, or a broken one, or one of an unknown version; a folder
/// that cannot be read; a link
///           that leads in a circle
/// Errors    Error: no such folder, nothing in it that begins with "sub-", a dataset of
///           derivatives.
Index indexDataset(const std::string& root);

}  // namespace mirel::dataset
