#include "support/niftifiles.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace mirel::niftifiles {

namespace fs = std::filesystem;

FileSizeLimit::FileSizeLimit(unsigned long bytes) {
  signal(SIGXFSZ, SIG_IGN);  // without it the limit ends the process
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  before = limit.rlim_cur;
  limit.rlim_cur = bytes;
  setrlimit(RLIMIT_FSIZE, &limit);
}

FileSizeLimit::~FileSizeLimit() {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = before;
  setrlimit(RLIMIT_FSIZE, &limit);
}

namespace {

class Bytes {
 public:
  Bytes(std::size_t size, bool reverse) : content(size, 0), swapped(reverse) {}
  template <typename T>
  void put(std::size_t at, T value) {
    unsigned char raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));
    if (swapped) std::reverse(raw, raw + sizeof(T));
    std::copy(raw, raw + sizeof(T), content.begin() + static_cast<std::ptrdiff_t>(at));
  }
  void text(std::size_t at, const std::string& value) {
    std::copy(value.begin(), value.end(), content.begin() + static_cast<std::ptrdiff_t>(at));
  }
  std::vector<unsigned char> content;

 private:
  bool swapped;
};

std::vector<unsigned char> header1(const Raw& raw) {
  Bytes b(352, raw.swapped);
  b.put<std::int32_t>(0, 348);
  for (std::size_t d = 0; d < raw.dim.size(); d++)
    b.put(40 + 2 * d, static_cast<std::int16_t>(raw.dim[d]));
  b.put(70, static_cast<std::int16_t>(raw.datatype));
  b.put(72, static_cast<std::int16_t>(raw.sampleBytes * 8));
  for (std::size_t d = 0; d < 8; d++) b.put(76 + 4 * d, static_cast<float>(raw.pixdim[d]));
  b.put(108, static_cast<float>(raw.offset < 0 ? 352 : raw.offset));
  b.put(112, static_cast<float>(raw.slope));
  b.put(116, static_cast<float>(raw.inter));
  b.content[123] = static_cast<unsigned char>(raw.units);
  b.text(148, "made for a test");
  b.put(252, static_cast<std::int16_t>(raw.qformCode));
  b.put(254, static_cast<std::int16_t>(raw.sformCode));
  for (std::size_t n = 0; n < 6; n++) b.put(256 + 4 * n, static_cast<float>(raw.quatern[n]));
  for (std::size_t n = 0; n < 12; n++)
    b.put(280 + 4 * n, static_cast<float>(raw.sform[n / 4][n % 4]));
  b.text(344, raw.magic.empty() ? "n+1" : raw.magic);
  return b.content;
}

std::vector<unsigned char> header2(const Raw& raw) {
  Bytes b(544, raw.swapped);
  b.put<std::int32_t>(0, 540);
  b.text(4, raw.magic.empty() ? std::string("n+2\0\r\n\032\n", 8) : raw.magic);
  b.put(12, static_cast<std::int16_t>(raw.datatype));
  b.put(14, static_cast<std::int16_t>(raw.sampleBytes * 8));
  for (std::size_t d = 0; d < raw.dim.size(); d++) b.put(16 + 8 * d, raw.dim[d]);
  for (std::size_t d = 0; d < 8; d++) b.put(104 + 8 * d, raw.pixdim[d]);
  b.put(168, static_cast<std::int64_t>(raw.offset < 0 ? 544 : raw.offset));
  b.put(176, raw.slope);
  b.put(184, raw.inter);
  b.text(240, "made for a test");
  b.put(344, static_cast<std::int32_t>(raw.qformCode));
  b.put(348, static_cast<std::int32_t>(raw.sformCode));
  for (std::size_t n = 0; n < 6; n++) b.put(352 + 8 * n, raw.quatern[n]);
  for (std::size_t n = 0; n < 12; n++) b.put(400 + 8 * n, raw.sform[n / 4][n % 4]);
  b.put(500, static_cast<std::int32_t>(raw.units));
  return b.content;
}

}  // namespace

std::vector<unsigned char> bytesOf(const Raw& raw) {
  std::vector<unsigned char> bytes = raw.version == 2 ? header2(raw) : header1(raw);
  std::vector<unsigned char> data = raw.data;
  if (raw.swapped)
    for (std::size_t n = 0; n < data.size(); n += static_cast<std::size_t>(raw.sampleBytes))
      std::reverse(data.begin() + static_cast<std::ptrdiff_t>(n),
                   data.begin() + static_cast<std::ptrdiff_t>(n) + raw.sampleBytes);
  bytes.insert(bytes.end(), data.begin(), data.end());
  return bytes;
}

std::vector<unsigned char> gzipped(const std::vector<unsigned char>& bytes) {
  z_stream stream{};
  if (deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    throw std::runtime_error("deflateInit2");
  std::vector<unsigned char> result(deflateBound(&stream, bytes.size()) + 64);
  std::vector<unsigned char> input = bytes;
  stream.next_in = input.data();
  stream.avail_in = static_cast<unsigned>(input.size());
  stream.next_out = result.data();
  stream.avail_out = static_cast<unsigned>(result.size());
  const int code = deflate(&stream, Z_FINISH);
  result.resize(stream.total_out);
  deflateEnd(&stream);
  if (code != Z_STREAM_END) throw std::runtime_error("deflate");
  return result;
}

void writeBytes(const std::string& name, const std::vector<unsigned char>& bytes) {
  std::ofstream os(name, std::ios::binary);
  os.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!os.flush()) throw std::runtime_error("cannot write " + name);
}

void writeText(const std::string& name, const std::string& text) {
  writeBytes(name, {text.begin(), text.end()});
}

std::vector<unsigned char> readBytes(const std::string& name) {
  const std::string text = textOf(name);
  return {text.begin(), text.end()};
}

std::string dataFolder() {
  const char* named = std::getenv("MIREL_TEST_DATA");
  const std::string folder = named != nullptr ? named : MIREL_TEST_DATA_FOLDER;
  return fs::is_directory(folder) ? folder : std::string();
}

}  // namespace mirel::niftifiles
