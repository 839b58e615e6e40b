#pragma once

#include <string>

namespace mirel::report {

/// The picture that the page of a run has as its icon, as an address by itself
/// ("data:image/png;base64,..."); empty where the file has none, or is not there.
std::string thumbnailOf(const std::string& pageFile);

}  // namespace mirel::report
