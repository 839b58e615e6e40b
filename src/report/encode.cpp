#include "report/encode.h"

#include <nettle/base16.h>
#include <nettle/base64.h>
#include <nettle/sha2.h>

#include <array>
#include <stdexcept>

namespace mirel::report {

std::string base64(std::span<const unsigned char> bytes) {
  std::string text(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
  base64_encode_raw(text.data(), bytes.size(), bytes.data());
  return text;
}

std::string dataAddress(const picture::RgbImage& image) {
  using picture::PngColours;
  return "data:image/png;base64," + base64(pngBytes(image, PngColours::greyWherePossible));
}

std::string policyHash(const std::string& text) {
  sha256_ctx context{};
  sha256_init(&context);
  sha256_update(&context, text.size(), reinterpret_cast<const std::uint8_t*>(text.data()));
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
  sha256_digest(&context, digest.size(), digest.data());
  return "'sha256-" + base64(digest) + "'";
}

std::string policyHashOf(const std::string& checksum) {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
  base16_decode_ctx context{};
  base16_decode_init(&context);
  std::size_t count = digest.size();
  if (checksum.size() != 2 * digest.size() ||
      base16_decode_update(&context, &count, digest.data(), checksum.size(), checksum.data()) == 0)
    throw std::invalid_argument("no SHA-256 checksum: " + checksum);
  return "'sha256-" + base64(digest) + "'";
}

}  // namespace mirel::report
