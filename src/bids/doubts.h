#pragma once

#include <glm/vec3.hpp>
#include <string>
#include <vector>

#include "bids/acquisition.h"

/// What is suspicious about images by what stands beside them and in their names. Each doubt is a
/// sentence for a warning.
namespace mirel::bids {

/// Where a user's word (options, another sidecar) about an image of `dims` voxels is not what its
/// own sidecars say: the direction, or a readout time that differs by more than 1 %. Nothing where
/// the user said nothing, or by a table of acquisitions, which has doubts of its own; sidecars that
/// cannot be read say nothing.
std::vector<std::string> contradictionsOf(const std::string& imageFile, glm::ivec3 dims,
                                          const GivenAcquisition& given,
                                          const Acquisition& settled);

/// That two images are of different subjects or sessions by the entities `sub` and `ses` of their
/// names; nothing where one of them has none.
std::vector<std::string> doubtsAboutSubject(const std::string& imageFile,
                                            const std::string& otherFile);

/// That an image is corrected already, by its sidecars (DistortionCorrection).
std::vector<std::string> doubtsAboutSecondCorrection(const std::string& imageFile,
                                                     const Acquisition& acquisition);

/// That fields in Hz may be off by the ratio of reconstructed to acquired lines: the image's
/// AcquisitionMatrixPE is smaller than its ReconMatrixPE, and its TotalReadoutTime is not its
/// EffectiveEchoSpacing times the reconstructed lines less one within 2 %. Nothing where one of the
/// four is missing or the readout time was given.
std::vector<std::string> doubtsAboutAcquiredLines(const std::string& imageFile,
                                                  const Acquisition& acquisition);

/// That files which could describe an image by their names were passed over for more specific ones
/// (chooseSidecar): where they say otherwise about its direction or readout time, or have these or
/// a link between image and field where the image's own sidecars do not. Files that cannot be read
/// say nothing.
std::vector<std::string> notesOnPassedOver(const std::string& imageFile, const Sidecar& counting,
                                           const std::vector<std::string>& passedOver);

/// The same of an image as it was resolved; nothing where the user gave the sidecar.
std::vector<std::string> notesOnPassedOver(const std::string& imageFile,
                                           const GivenAcquisition& given,
                                           const Acquisition& settled);

}  // namespace mirel::bids
