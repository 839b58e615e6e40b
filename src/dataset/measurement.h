#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "dataset/facts.h"

/// Which images of a list, by their numbers in it, tell a field that the scanner measured.
namespace mirel::dataset {

/// One phasediff or fieldmap, or phase1 and phase2; empty: none.
using MeasuringImages = std::vector<std::size_t>;

/// Those that are complete and without faults among the images of `pool`. A phase1 or phase2 of it
/// stands for both, wherever the other one is.
std::vector<MeasuringImages> measurementsAmong(const std::vector<ImageFacts>& images,
                                               const std::vector<std::size_t>& pool);

/// Why the images of a pool that measure fields give none; empty where one of them does.
std::string whyNoMeasurement(const std::vector<ImageFacts>& images,
                             const std::vector<std::size_t>& pool);

/// The only one, else the nearest in time to an image; nothing where there is none, or time cannot
/// decide.
std::optional<MeasuringImages> nearestMeasurement(const std::vector<ImageFacts>& images,
                                                  const std::vector<MeasuringImages>& measurements,
                                                  std::size_t image);

}  // namespace mirel::dataset
