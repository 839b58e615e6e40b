#pragma once

#include <span>
#include <string>

#include "picture/image.h"

namespace mirel::report {

/// Base64 (RFC 4648) with padding, without line breaks.
std::string base64(std::span<const unsigned char> bytes);

/// The picture as a PNG in an address by itself: "data:image/png;base64,...".
std::string dataAddress(const picture::RgbImage& image);

/// What a content security policy calls a script or a style sheet in the page: "'sha256-...'".
std::string policyHash(const std::string& text);
/// The same of a text whose SHA-256 checksum is known, in hexadecimal digits.
std::string policyHashOf(const std::string& checksum);

}  // namespace mirel::report
