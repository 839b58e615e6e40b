#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace mirel {

/// What `mirel info` tells about a NIfTI image: grid, orientation, storage, what its sidecars say
/// about phase encoding, and a summary of its data. Lengths in mm, times in ms.
///
/// Errors   those of nifti::Reader; a sidecar that cannot be used is a warning in the report, as
///          are data that cannot be read.
nlohmann::ordered_json imageReport(const std::string& fileName);

}  // namespace mirel
