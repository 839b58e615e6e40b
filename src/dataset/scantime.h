#pragma once

#include <optional>
#include <string>

#include "dataset/index.h"

namespace mirel::dataset {

/// acq_time of an image in the table of scans (_scans.tsv) of its session or its subject, in
/// seconds of the day; nothing where none tells it.
std::optional<double> timeOfScan(const Index& index, const IndexedImage& image);

/// Seconds of the day of "12:09:5.225", "2020-02-01T12:09:05" and the like; nothing for other
/// texts.
std::optional<double> secondsOfDay(const std::string& text);

}  // namespace mirel::dataset
