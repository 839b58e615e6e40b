#pragma once

#include <string>

#include "bids/name.h"

/// The names of results, all of them in one place, without extension. They stay as they are: people
/// and programs look for them.
///
/// What a rule of the BIDS derivatives allows is called so (preproc images, fieldmap, magnitude);
/// warps have the entities from, to and mode as in the standard's examples. No rule has a word for
/// a displacement map along one axis: its suffix is the one that it has as a .map file, "vdm".
///
/// A name that has no entities stays in front: "one.nii.gz" gives "one_desc-preproc". `detail` says
/// which volumes of several an image is of ("Volume3"), and continues the description.
namespace mirel {

/// Of images.
inline constexpr const char* imageEnd = ".nii.gz";
/// Of the head's motion within a series (motionName).
inline constexpr const char* motionEnd = ".txt";

/// sub-01_dir-AP_desc-preproc_epi. What has a description gets
/// sub-01_desc-denoisedUndistorted_bold.
std::string correctedName(const bids::Name& image, const std::string& detail = {});

/// sub-01_desc-restored_dwi of sub-01_dir-AP_dwi and sub-01_dir-PA_dwi: the entities that both
/// have.
std::string restoredName(const bids::Name& first, const bids::Name& second);

/// sub-01_dir-AP_from-orig_to-undistorted_mode-image_xfm; a description of the image follows.
std::string warpName(const bids::Name& image, const std::string& detail = {});

/// sub-01_task-rest_from-orig_to-boldref_mode-image_desc-hmc_xfm: the head's motion within a
/// series. A series whose name has no suffix of its own gets to-reference.
std::string motionName(const bids::Name& image);

/// sub-01_dir-AP_desc-voxels_vdm, where `unit` is "voxels" or "mm".
std::string displacementName(const bids::Name& image, const std::string& unit,
                             const std::string& detail = {});

/// sub-01_desc-LABEL_SUFFIX with the entities that both images of a pair have, for the suffixes
/// "fieldmap" and "magnitude". These may have no more entities than acq, run and chunk beside
/// subject and session: others, but for dir, go into the description, so that task-rest gives
/// sub-01_desc-preprocTaskRest_fieldmap. Of names without common entities both stay in front:
/// subj1_AP and subj1_PA give subj1_AP_PA_desc-preproc_fieldmap. `detail` comes last in the
/// description, which begins with `label`.
std::string pairResultName(const bids::Name& a, const bids::Name& b, const std::string& suffix,
                           const std::string& detail = {}, const std::string& label = "preproc");

/// A word as part of a label, which has letters and digits only and begins with a capital here.
std::string labelPart(const std::string& word);

}  // namespace mirel
