#pragma once

#include <string>
#include <utility>
#include <vector>

namespace mirel::bids {

/// A file name of the Brain Imaging Data Structure: entities "key-value" and a suffix, joined by
/// "_" (sub-01_dir-AP_epi). A name of another kind has no entities and is one suffix.
struct Name {
  std::vector<std::pair<std::string, std::string>> entities;
  std::string suffix;

  /// Without folder and without .nii, .nii.gz.
  static Name of(const std::string& imageFile);
  /// Of a name that has neither folder nor extension.
  static Name ofStem(const std::string& stem);

  bool isStructured() const { return !entities.empty(); }
  /// The value of an entity ("sub"); empty where the name has none of it.
  std::string entity(const std::string& key) const;
  std::string text() const;
};

/// The name of what is derived from an image: entities kept, desc-`description` last; where the
/// image has a description of its own the new one follows it (desc-raw becomes desc-rawPreproc).
/// The suffix is kept unless another is given. A name without entities stays in front: "run 1"
/// gives "run 1_desc-preproc", with a suffix "run 1_desc-voxels_vdm".
std::string derivedName(const Name& source, const std::string& description,
                        const std::string& suffix = {});

/// The name of what two images have in common: the entities that are the same in both, but for
/// `dir`; the first one's suffix. Where there are none both names, parts that both begin with
/// once, so that results of other images have other names: subj1_AP, subj1_PA give subj1_AP_PA.
Name commonName(const Name& a, const Name& b);

}  // namespace mirel::bids
