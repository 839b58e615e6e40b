#pragma once

#include <array>
#include <string>

#include "base/filestamp.h"

namespace mirel {

/// A SHA-256 checksum (FIPS 180-4).
using Sha256 = std::array<unsigned char, 32>;

/// The checksum of a text's bytes.
Sha256 sha256Bytes(const std::string& text);

/// The same as 64 hexadecimal digits.
std::string sha256OfText(const std::string& text);

/// The checksum of a file's bytes as 64 hexadecimal digits. Throws Error when the file cannot be
/// read.
std::string sha256Of(const std::string& fileName);

/// The same of a file that was read since `before` was taken: the checksum is that of what was
/// read, or an Error says that the file changed.
std::string sha256Of(const FileStamp& before);

}  // namespace mirel
