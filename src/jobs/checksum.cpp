#include "jobs/checksum.h"

#include <nettle/sha2.h>

#include <array>
#include <cstdint>
#include <fstream>

#include "base/error.h"

namespace mirel {

namespace {

std::string digestOf(sha256_ctx& context) {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
  sha256_digest(&context, digest.size(), digest.data());
  constexpr const char* digits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : digest) {
    text += digits[byte >> 4U];
    text += digits[byte & 15U];
  }
  return text;
}

}  // namespace

std::string sha256Of(const std::string& fileName) {
  std::ifstream is(fileName, std::ios::binary);
  if (!is) throw Error(fileName, "cannot be opened");
  sha256_ctx context{};
  sha256_init(&context);
  std::array<char, 1 << 16> block{};
  while (is.read(block.data(), block.size()), is.gcount() > 0)
    sha256_update(&context, static_cast<std::size_t>(is.gcount()),
                  reinterpret_cast<const std::uint8_t*>(block.data()));
  if (is.bad()) throw Error(fileName, "cannot be read");
  return digestOf(context);
}

std::string sha256OfText(const std::string& text) {
  sha256_ctx context{};
  sha256_init(&context);
  sha256_update(&context, text.size(), reinterpret_cast<const std::uint8_t*>(text.data()));
  return digestOf(context);
}

std::string sha256Of(const FileStamp& before) {
  std::string sum = sha256Of(before.fileName());
  before.requireUnchanged();
  return sum;
}

}  // namespace mirel
