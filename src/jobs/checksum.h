#pragma once

#include <string>

#include "base/filestamp.h"

namespace mirel {

/// The SHA-256 checksum of a file's bytes as 64 hexadecimal digits. Throws Error when the
/// file cannot be read.
std::string sha256Of(const std::string& fileName);
/// The same of a text.
std::string sha256OfText(const std::string& text);

/// The same of a file that was read since `before` was taken: the checksum is that of what was
/// read, or an Error says that the file changed.
std::string sha256Of(const FileStamp& before);

}  // namespace mirel
