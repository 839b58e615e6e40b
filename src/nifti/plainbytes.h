#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

struct inflate_state;

namespace mirel::nifti {

/// The bytes of a file as they were before compression. A file that begins like one of gzip (RFC
/// 1952) is decompressed, whatever its name, any other read as it is.
///
/// Members  of a compressed file follow one another; what stands behind the last one and is no
///          member is left out, as gzip and zlib's gzread do.
/// Faults   of the file do not throw: `read` gives what comes before them, and `fault` tells of
///          them. The checksum of a member is compared when its last byte has been read.
class PlainBytes {
 public:
  enum class Fault {
    none,
    unreadable,  ///< errno tells why
    truncated,   ///< a compressed file ends within a member
    damaged,     ///< it cannot be decompressed, or not to what its checksum is of
  };

  /// Throws Error for a file that cannot be opened.
  explicit PlainBytes(const std::string& fileName);
  ~PlainBytes();

  bool isCompressed() const { return inflater != nullptr; }
  /// The next `count` bytes, or as many as there are before the end or a fault.
  std::size_t read(unsigned char* bytes, std::size_t count);
  Fault fault() const { return found; }
  /// Goes to that byte; to go back a compressed file is read from the start again. False where the
  /// file ends before or has a fault.
  bool seek(std::uint64_t position);

 private:
  struct Close {
    void operator()(std::FILE* open) const { std::fclose(open); }
  };
  std::size_t readPlain(unsigned char* bytes, std::size_t count);
  std::size_t inflate(unsigned char* bytes, std::size_t count);
  bool refill();
  bool startMember();
  void rewind();

  std::unique_ptr<std::FILE, Close> file;
  std::unique_ptr<inflate_state> inflater;  ///< none for a plain file
  std::vector<unsigned char> packed;        ///< as read from the file
  std::uint64_t at = 0;
  bool ended = false;
  Fault found = Fault::none;
};

}  // namespace mirel::nifti
