#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "bids/name.h"
#include "bids/sidecar.h"

/// Which sidecars describe an image: one may stand higher up in a dataset and describe many.
namespace mirel::bids {

inline constexpr const char* descriptionFile = "dataset_description.json";

/// The nearest folder, the given one or one above it, with a dataset_description.json; empty when
/// there is none.
std::filesystem::path datasetRoot(const std::filesystem::path& folder);

/// Whether a .json file of this name describes an image of that one, if it lies in the same folder
/// or above it: the same suffix, and every entity of the file has the same value in the image.
bool applies(const Name& sidecar, const Name& image);

/// Of the files in one folder that apply to an image, the one that counts and the others.
struct SidecarChoice {
  std::string counts;
  std::vector<std::string> passedOver;
};

/// The choice among `files`, at least one: the most specific name, which has every entity of every
/// other one and more. That is the image's own sidecar where there is one: sub-01_acq-x_epi.json
/// beside sub-01_epi.json, which describes the image without acq-x. The standard knows no such
/// case (it asks for one file per folder), but data sets have it constantly. Nothing is taken from
/// the others, not even fields that the most specific one lacks: they were written about another
/// acquisition.
/// Errors  Error, naming two: none is the most specific (task-rest_bold.json, acq-x_bold.json).
SidecarChoice chooseSidecar(const std::vector<std::string>& files, const std::string& imageFile);

/// Of several folders those that count, and those that do not.
std::vector<std::string> countingIn(const std::vector<SidecarChoice>& folders);
std::vector<std::string> passedOverIn(const std::vector<SidecarChoice>& folders);

/// The sidecars that apply to an image, the farthest first. They are looked for in every folder
/// from the dataset's root down to the image's own; the root is the nearest folder, the image's
/// own or one above it, with a dataset_description.json. Without one only the image's own folder
/// counts. A .json file applies when its name has the image's suffix and every entity in its name
/// has the same value in the image's name:
///
///   /task-rest_bold.json, /bold.json, /sub-01/sub-01_bold.json
///
/// apply to /sub-01/func/sub-01_task-rest_bold.nii.gz, though of the first two only the first
/// counts (chooseSidecar). Names are relative to the working folder when the image's is.
///
/// Errors  Error: that of chooseSidecar; a folder cannot be listed.
/// Source  Brain Imaging Data Structure 1.8, "The Inheritance Principle".
std::vector<std::string> applicableSidecars(const std::string& imageFile);

/// The files that would apply to the image but for a more specific one in their folder, for an
/// image as findSidecar looks at it. Errors: those of applicableSidecars.
std::vector<std::string> sidecarsPassedOver(const std::string& imageFile);

/// The sidecar `given` alone; with an empty name those that apply to the image (above). Where none
/// applies to an image that is a link, those of the image that it leads to: a link is looked at
/// where it stands first, since data sets are full of links to contents that are kept elsewhere.
/// Nothing when none applies. Errors: those of applicableSidecars and of Sidecar.
std::optional<Sidecar> findSidecar(const std::string& imageFile, const std::string& given = {});

}  // namespace mirel::bids
