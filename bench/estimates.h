#pragma once

#include <string>

#include "head.h"
#include "vdm/estimatepair.h"

namespace mirel {

/// The estimates that are measured, by name: "ssd", "ssd_corrected", "ncc", "ncc_corrected"
/// (intensities corrected) and "fast" (column-wise). Throws std::invalid_argument for others.
EstimateOptions optionsNamed(const std::string& name);

/// An estimate by the engine and by the plain reference of the tests; voxels of 2 mm.
Volume<float> estimateByEngine(const HeadPair& head, const EstimateOptions& options);
Volume<float> estimateByReference(const HeadPair& head, const EstimateOptions& options);

}  // namespace mirel
