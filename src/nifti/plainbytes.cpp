#include "nifti/plainbytes.h"

#include <cerrno>
#include <cstring>

#include "base/error.h"

namespace mirel::nifti {

PlainBytes::PlainBytes(const std::string& fileName) : file(std::fopen(fileName.c_str(), "rb")) {
  if (!file) throw Error(fileName, std::string("cannot be opened: ") + std::strerror(errno));
}

PlainBytes::~PlainBytes() = default;

std::size_t PlainBytes::readPlain(unsigned char* bytes, std::size_t count) {
  const std::size_t got = std::fread(bytes, 1, count, file.get());
  if (got < count && std::ferror(file.get()) != 0) found = Fault::unreadable;
  return got;
}

std::size_t PlainBytes::read(unsigned char* bytes, std::size_t count) {
  const std::size_t got = found == Fault::none ? readPlain(bytes, count) : 0;
  at += got;
  return got;
}

bool PlainBytes::seek(std::uint64_t position) {
  if (position == at) return found == Fault::none;
  if (fseeko(file.get(), static_cast<off_t>(position), SEEK_SET) != 0) return false;
  at = position;
  return true;
}

}  // namespace mirel::nifti
