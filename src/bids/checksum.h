#pragma once

#include <string>

namespace bids {

/// The SHA-256 checksum of a file's bytes as 64 hexadecimal digits. Throws bids::Error when the
/// file cannot be read.
std::string sha256Of(const std::string& fileName);

}  // namespace bids
