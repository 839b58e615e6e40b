#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace mirel::nifti {

/// Compresses bytes into deflate blocks (RFC 1951) that end on a byte boundary, so that what
/// several of them made can stand one behind the other in one stream, and forms the bytes' CRC-32.
///
///   Deflater deflater(target);
///   deflater.add(bytes, count);  // as often as need be
///   deflater.finish();
///
/// Equal calls give equal bytes, on every x86-64 processor that has SSE 4.2.
class Deflater {
 public:
  /// Appends to `target`, which outlives the object.
  explicit Deflater(std::vector<unsigned char>& target);
  ~Deflater();

  void add(const unsigned char* bytes, std::size_t count);
  /// What is still held back, and an empty block that ends on a byte boundary.
  void finish();
  /// Of all bytes that were added, before compression.
  unsigned long checksum() const { return crc; }

 private:
  struct Stream;
  void drain(std::uint16_t flush);

  std::vector<unsigned char>& result;
  std::unique_ptr<Stream> stream;
  std::uint32_t crc = 0;
};

}  // namespace mirel::nifti
