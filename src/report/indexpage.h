#pragma once

#include <string>
#include <vector>

#include "dataset/group.h"

namespace mirel::report {

/// The page over all corrected images of a dataset: one HTML file with everything in it, as the
/// report of a run is, whose links lead to the reports of the images and their fields. It shows the
/// rows of the table as they are, also without its script; with it they are sorted by any column
/// and filtered by subject, session, verdict, figures and outliers. Equal rows make equal bytes.
///
/// @param title   of the page: the name of the dataset
/// @param rows    whose paths are relative to the folder that the page is for
/// @param folder  that one: beside each image stands the thumbnail of its page there, if it has one
std::string indexPage(const std::string& title, const std::string& version,
                      const std::vector<dataset::GroupRow>& rows, const std::string& folder);

}  // namespace mirel::report
