#include "report/encode.h"

#include <openssl/evp.h>

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

}  // namespace mirel::report
