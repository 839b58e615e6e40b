#include "jobs/checksum.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <fstream>
#include <memory>
#include <stdexcept>
#include <stop_token>
#include <system_error>
#include <utility>
#include <vector>

#include "base/error.h"

namespace mirel {

namespace {

/// One checksum, of bytes that come piece by piece.
class Sum {
 public:
  Sum() {
    // A sum needs nothing of the machine's settings for encryption, whose file may be broken.
    OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr);
    context.reset(EVP_MD_CTX_new());
    require(context && EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1);
  }

  void add(const char* bytes, std::size_t count) {
    require(EVP_DigestUpdate(context.get(), bytes, count) == 1);
  }

  Sha256 value() {
    Sha256 sum{};
    require(EVP_DigestFinal_ex(context.get(), sum.data(), nullptr) == 1);
    return sum;
  }

 private:
  struct Free {
    void operator()(EVP_MD_CTX* used) const { EVP_MD_CTX_free(used); }
  };

  static void require(bool done) {
    if (!done) throw std::runtime_error("libcrypto could not compute a SHA-256 checksum");
  }

  std::unique_ptr<EVP_MD_CTX, Free> context;
};

std::string hexadecimal(const Sha256& sum) {
  constexpr const char* digits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : sum) {
    text += digits[byte >> 4U];
    text += digits[byte & 15U];
  }
  return text;
}

std::string sumOf(const std::string& fileName, const std::stop_token& stop) {
  std::ifstream is(fileName, std::ios::binary);
  if (!is) throw Error(fileName, "cannot be opened");
  Sum sum;
  std::vector<char> block(1 << 17);
  while (!stop.stop_requested() &&
         (is.read(block.data(), static_cast<std::streamsize>(block.size())), is.gcount() > 0))
    sum.add(block.data(), static_cast<std::size_t>(is.gcount()));
  if (is.bad()) throw Error(fileName, "cannot be read");
  return hexadecimal(sum.value());
}

}  // namespace

Sha256 sha256Bytes(const std::string& text) {
  Sum sum;
  sum.add(text.data(), text.size());
  return sum.value();
}

std::string sha256OfText(const std::string& text) { return hexadecimal(sha256Bytes(text)); }

std::string sha256Of(const std::string& fileName) { return sumOf(fileName, {}); }

std::string sha256Of(const FileStamp& before) {
  std::string sum = sha256Of(before.fileName());
  before.requireUnchanged();
  return sum;
}

ChecksumBeside::ChecksumBeside(FileStamp file, int threads) : before(std::move(file)) {
  if (threads == 1) return;
  std::packaged_task<std::string(std::stop_token)> work(
      [name = before.fileName()](const std::stop_token& stop) { return sumOf(name, stop); });
  std::future<std::string> result = work.get_future();
  try {
    worker = std::jthread(std::move(work));
  } catch (const std::system_error&) {
    return;
  }
  sum = std::move(result);
}

std::string ChecksumBeside::value() {
  if (!sum.valid()) return sha256Of(before);
  std::string found = sum.get();
  before.requireUnchanged();
  return found;
}

}  // namespace mirel
