#pragma once

#include <string>

namespace mirel {

/// The SHA-256 checksum of a file's bytes as 64 hexadecimal digits. Throws Error when the
/// file cannot be read.
std::string sha256Of(const std::string& fileName);
/// The same of a text.
std::string sha256OfText(const std::string& text);

}  // namespace mirel
