#include "nifti/plainbytes.h"

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/error.h"

namespace mirel::nifti {

namespace {

constexpr std::size_t packedBytes = 1 << 18;

bool beginsLikeGzip(const unsigned char* bytes) { return bytes[0] == 0x1f && bytes[1] == 0x8b; }

}  // namespace

PlainBytes::PlainBytes(const std::string& fileName) : file(std::fopen(fileName.c_str(), "rb")) {
  if (!file) throw Error(fileName, std::string("cannot be opened: ") + std::strerror(errno));
  unsigned char start[2];
  const bool compressed = std::fread(start, 1, 2, file.get()) == 2 && beginsLikeGzip(start);
  if (compressed) {
    inflater = std::make_unique<inflate_state>();
    packed.resize(packedBytes);
  }
  rewind();
}

PlainBytes::~PlainBytes() = default;

void PlainBytes::rewind() {
  at = 0;
  ended = false;
  found = Fault::none;
  std::clearerr(file.get());
  if (std::fseek(file.get(), 0, SEEK_SET) != 0) found = Fault::unreadable;
  if (!inflater) return;
  inflater->avail_in = 0;
  startMember();
}

std::size_t PlainBytes::readPlain(unsigned char* bytes, std::size_t count) {
  const std::size_t got = std::fread(bytes, 1, count, file.get());
  if (got < count && std::ferror(file.get()) != 0) found = Fault::unreadable;
  return got;
}

// Appends to what is left of the compressed bytes; false at the end of the file.
bool PlainBytes::refill() {
  std::copy_n(inflater->next_in, inflater->avail_in, packed.data());
  inflater->next_in = packed.data();
  const std::size_t got =
      readPlain(packed.data() + inflater->avail_in, packed.size() - inflater->avail_in);
  inflater->avail_in += static_cast<std::uint32_t>(got);
  return got > 0;
}

// False where no further member begins.
bool PlainBytes::startMember() {
  unsigned char* const next = inflater->next_in;
  const std::uint32_t left = inflater->avail_in;
  isal_inflate_init(inflater.get());
  inflater->next_in = left > 0 ? next : packed.data();
  inflater->avail_in = left;
  inflater->crc_flag = ISAL_GZIP;
  if (left < 4) refill();
  if (inflater->avail_in < 2 || !beginsLikeGzip(inflater->next_in)) return false;
  // Flags that no version of the format defines: what follows cannot be told.
  if (inflater->avail_in >= 4 && (inflater->next_in[3] & 0xe0U) != 0) found = Fault::damaged;
  return true;
}

std::size_t PlainBytes::inflate(unsigned char* bytes, std::size_t count) {
  inflate_state& state = *inflater;
  state.next_out = bytes;
  state.avail_out = static_cast<std::uint32_t>(std::min<std::size_t>(count, 1U << 30U));
  const std::uint32_t wanted = state.avail_out;
  while (state.avail_out > 0 && found == Fault::none) {
    const bool atEnd = state.avail_in == 0 && !refill();
    const std::uint32_t before = state.avail_out;
    if (isal_inflate(&state) < 0) {
      found = Fault::damaged;
    } else if (state.block_state == ISAL_BLOCK_FINISH) {
      break;
    } else if (atEnd && state.avail_out == before) {
      if (found == Fault::none) found = Fault::truncated;
    }
  }
  const std::size_t got = wanted - state.avail_out;
  if (state.block_state == ISAL_BLOCK_FINISH) ended = !startMember();
  return got;
}

std::size_t PlainBytes::read(unsigned char* bytes, std::size_t count) {
  if (!inflater) {
    const std::size_t got = found == Fault::none ? readPlain(bytes, count) : 0;
    at += got;
    return got;
  }
  std::size_t got = 0;
  while (got < count && !ended && found == Fault::none) got += inflate(bytes + got, count - got);
  at += got;
  return got;
}

bool PlainBytes::seek(std::uint64_t position) {
  if (position == at) return found == Fault::none;
  if (!inflater) {
    if (fseeko(file.get(), static_cast<off_t>(position), SEEK_SET) != 0) return false;
    at = position;
    return true;
  }
  if (position < at) rewind();
  std::vector<unsigned char> skipped(
      static_cast<std::size_t>(std::min<std::uint64_t>(position - at, packedBytes)));
  while (at < position && found == Fault::none && !ended)
    read(skipped.data(), std::min<std::uint64_t>(position - at, skipped.size()));
  return at == position;
}

}  // namespace mirel::nifti
