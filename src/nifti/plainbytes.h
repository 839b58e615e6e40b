#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace mirel::nifti {

/// The bytes of a file as they were before compression; yet only those of plain files.
///
/// Faults   of the file do not throw: `read` gives what comes before them, and `fault` tells of
///          them.
class PlainBytes {
 public:
  enum class Fault {
    none,
    unreadable,  ///< errno tells why
  };

  /// Throws Error for a file that cannot be opened.
  explicit PlainBytes(const std::string& fileName);
  ~PlainBytes();

  /// The next `count` bytes, or as many as there are before the end or a fault.
  std::size_t read(unsigned char* bytes, std::size_t count);
  Fault fault() const { return found; }
  /// Goes to that byte. False where the
  /// file ends before or has a fault.
  bool seek(std::uint64_t position);

 private:
  struct Close {
    void operator()(std::FILE* open) const { std::fclose(open); }
  };
  std::size_t readPlain(unsigned char* bytes, std::size_t count);

  std::unique_ptr<std::FILE, Close> file;
  std::uint64_t at = 0;
  Fault found = Fault::none;
};

}  // namespace mirel::nifti
