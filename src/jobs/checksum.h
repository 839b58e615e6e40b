#pragma once

#include <array>
#include <future>
#include <string>
#include <thread>

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

/// The same of a file that is being read: computed in a thread of its own beside other work. Where
/// there is no thread to be had it is computed when it is asked for.
class ChecksumBeside {
 public:
  /// @param file     as it was before anything was read of it
  /// @param threads  1: no other than the caller's is wanted; otherwise one is taken
  ChecksumBeside(FileStamp file, int threads);

  /// To be asked for once, when the file has been read: waits for the checksum. Errors: those of
  /// sha256Of.
  std::string value();

 private:
  FileStamp before;
  std::future<std::string> sum;
  std::jthread worker;  // stops when nobody asks any more
};

}  // namespace mirel
