#include "nifti/deflater.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include <stdexcept>

namespace mirel::nifti {

namespace {

// Of series of 16-bit integers level 2 takes a ninth of the time of zlib's level 4, for files that
// are 0.1 % (a simulated one) to 3.3 % larger (a measured one), and gives the same bytes on all
// processors since SSE 4.2. Level 3 is as fast, but has other bytes with AVX2, and others again
// with AVX-512. More memory makes blocks longer, and files larger.
constexpr std::uint32_t compressionLevel = 2;
constexpr std::size_t levelMemory = ISAL_DEF_LVL2_MEDIUM;

constexpr std::uint32_t chunk = 1 << 16;

}  // namespace

struct Deflater::Stream : isal_zstream {
  std::vector<unsigned char> memory = std::vector<unsigned char>(levelMemory);
};

Deflater::Deflater(std::vector<unsigned char>& target)
    : result(target), stream(std::make_unique<Stream>()) {
  isal_deflate_init(stream.get());
  stream->gzip_flag = IGZIP_DEFLATE;  // without a head and a tail of their own
  stream->level = compressionLevel;
  stream->level_buf = stream->memory.data();
  stream->level_buf_size = static_cast<std::uint32_t>(stream->memory.size());
}

Deflater::~Deflater() = default;

void Deflater::add(const unsigned char* bytes, std::size_t count) {
  // The library's interface knows no const; it does not write there.
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
  unsigned char* const in = const_cast<unsigned char*>(bytes);
  crc = crc32_gzip_refl(crc, in, count);
  stream->next_in = in;
  stream->avail_in = static_cast<std::uint32_t>(count);
  drain(NO_FLUSH);
}

void Deflater::finish() { drain(SYNC_FLUSH); }

void Deflater::drain(std::uint16_t flush) {
  stream->flush = flush;
  do {
    const std::size_t used = result.size();
    result.resize(used + chunk);
    stream->next_out = result.data() + used;
    stream->avail_out = chunk;
    if (isal_deflate(stream.get()) != COMP_OK)
      throw std::logic_error("wrong use of the compressor");
    result.resize(used + chunk - stream->avail_out);
  } while (stream->avail_out == 0);
}

}  // namespace mirel::nifti
