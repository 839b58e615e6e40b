#pragma once

#include <string>
#include <vector>

#include "phantom/sessionscans.h"

namespace mirel {

/// Where the files of a session go.
struct SessionPlace {
  std::string root;     ///< folder of the dataset
  std::string subject;  ///< "01"
  std::string session;  ///< "02"; empty where there are no session folders
  int number = 0;       ///< of the session, for what differs between sessions

  /// "sub-01" or "sub-01/ses-02".
  std::string folder() const;
  /// "sub-01" or "sub-01_ses-02".
  std::string prefix() const;
};

/// Writes the images of a session, with noise, as raw data: .nii.gz of 16-bit integers with .json,
/// and .bval and .bvec of diffusion-weighted images. Folders are made.
/// Errors  Error with the file's name and the fault.
void writeSession(const std::vector<SessionScan>& scans, const PhantomSession& session,
                  const SubjectPlan& plan, const PhantomDatasetOptions& options,
                  const SessionPlace& place);

/// Writes what is known of the session, as a derivative, in 32-bit floats and without noise, each
/// with .json:
///
///   fmap/*_desc-truth_fieldmap          the field in Hz
///   fmap/*_desc-truth_magnitude         the pair's image without distortion
///   fmap/*_desc-brain_mask, fmap/*_desc-head_mask
///   for each scan, in its folder:
///   *_desc-undistorted_<suffix>         without distortion, with .bval and .bvec; not of the pair
///   *_desc-truth_displacement           d in voxels, of the pair, bold and dwi:
///                                       undistorted(p) = image(p + d) (1 + d')
///
/// Errors  as writeSession.
void writeSessionTruth(const std::vector<SessionScan>& scans, const PhantomSession& session,
                       const SubjectPlan& plan, const PhantomDatasetOptions& options,
                       const SessionPlace& place);

}  // namespace mirel
