#pragma once

#include <string>

namespace mirel {

/// A path as part of an address (RFC 3986): letters, digits and /-._~ stay, every other byte
/// becomes %XX.
std::string percentEncoded(const std::string& path);

}  // namespace mirel
