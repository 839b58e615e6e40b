#pragma once

#include <string>
#include <vector>

namespace mirel::bidsrules {

/// What the rules of BIDS derivatives (1.11, preprocessed volumes) allow in the names of images,
/// as far as Mirel writes such images; written down here independently of the program.

/// The names of one kind of image. `rawRule` is the rule in the file `rawFile` of the standard's
/// schema that it inherits suffixes and entities from.
struct Rule {
  const char* datatype;
  std::vector<std::string> suffixes;
  std::vector<std::string> entities;  ///< beside sub, ses, space, res and desc
  std::vector<std::string> required;  ///< of these
  const char* rawFile;
  const char* rawRule;
};

inline const std::vector<Rule>& rules() {
  static const std::vector<Rule> all = {
      {"fmap",
       {"epi"},
       {"acq", "ce", "rec", "dir", "run", "part", "chunk"},
       {"dir"},
       "files-raw-fmap.yaml",
       "pepolar"},
      {"fmap",
       {"m0scan"},
       {"acq", "ce", "rec", "dir", "run", "part", "chunk"},
       {"dir"},
       "files-raw-fmap.yaml",
       "pepolar_m0scan"},
      {"fmap",
       {"fieldmap", "magnitude"},
       {"acq", "run", "chunk"},
       {},
       "files-raw-fmap.yaml",
       "fieldmaps"},
      {"func",
       {"bold", "sbref"},
       {"task", "acq", "ce", "rec", "dir", "run", "echo", "part", "chunk"},
       {"task"},
       "files-raw-func.yaml",
       "func"},
      {"dwi",
       {"dwi"},
       {"acq", "rec", "dir", "run", "part", "chunk"},
       {},
       "files-raw-dwi.yaml",
       "dwi"},
      {"dwi",
       {"sbref"},
       {"acq", "rec", "dir", "run", "part", "chunk"},
       {},
       "files-raw-dwi.yaml",
       "sbref"},
      {"perf", {"asl", "m0scan"}, {"acq", "rec", "dir", "run", "echo", "part"}, {}, "", ""},
  };
  return all;
}

/// The order of the entities in a name.
inline const std::vector<std::string>& entityOrder() {
  static const std::vector<std::string> order = {"sub",   "ses",   "task", "acq",   "ce",
                                                 "rec",   "dir",   "run",  "echo",  "part",
                                                 "chunk", "space", "res",  "label", "desc"};
  return order;
}

/// What is wrong with the path of an image or its sidecar, from the dataset's root on; empty where
/// a rule allows it.
std::string faultOfPath(const std::string& path);

/// The keys that the sidecar of an image with this suffix must have: those of every derived image
/// that is no mask, and of this kind.
std::vector<std::string> requiredKeys(const std::string& suffix);

}  // namespace mirel::bidsrules
