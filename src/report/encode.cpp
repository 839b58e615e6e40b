#include "report/encode.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <array>
#include <stdexcept>

#include "jobs/checksum.h"

namespace mirel::report {

std::string base64(std::span<const unsigned char> bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, '\0');
  // It ends with a 0, in the place where a std::string has one.
  EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(),
                  static_cast<int>(bytes.size()));
  return text;
}

std::string dataAddress(const picture::RgbImage& image) {
  using picture::PngColours;
  return "data:image/png;base64," + base64(pngBytes(image, PngColours::greyWherePossible));
}

std::string policyHash(const std::string& text) {
  return "'sha256-" + base64(sha256Bytes(text)) + "'";
}

std::string policyHashOf(const std::string& checksum) {
  std::array<unsigned char, 32> digest{};
  std::size_t count = 0;
  if (OPENSSL_hexstr2buf_ex(digest.data(), digest.size(), &count, checksum.c_str(), '\0') != 1 ||
      count != digest.size())
    throw std::invalid_argument("no SHA-256 checksum: " + checksum);
  return "'sha256-" + base64(digest) + "'";
}

}  // namespace mirel::report
