#pragma once

#include <string_view>
#include <vector>

namespace mirel::picture {

/// The characters of a UTF-8 text (RFC 3629). What is no UTF-8 (stray and missing bytes, overlong
/// forms, surrogates, beyond U+10FFFF) becomes U+FFFD, one for each byte that is passed over;
/// control characters become blanks. Any bytes will do.
std::vector<char32_t> decodeUtf8(std::string_view text);

}  // namespace mirel::picture
