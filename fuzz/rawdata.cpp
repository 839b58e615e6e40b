// Samples of project data, from any bytes: read, written and read again.
#include "files/rawdata.h"

#include <cmath>
#include <sstream>

#include "fuzz/input.h"

using namespace mirel;

namespace {

std::string written(SampleFormat format, const std::vector<float>& values) {
  std::ostringstream os;
  SampleWriter writer(os, format);
  writer.write(values.data(), values.size());
  writer.finish();
  return os.str();
}

std::vector<float> readBack(SampleFormat format, const std::string& bytes, std::size_t count) {
  std::vector<float> values(count);
  std::istringstream is(bytes);
  readSamples(is, format, values.data(), count);
  return values;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const SampleFormat format = input.flag() ? SampleFormat::float32 : SampleFormat::int16;
  const std::size_t asked = input.take<std::uint16_t>() % 512;
  const std::string bytes(input.rest());
  const std::vector<float> values = readBack(format, bytes, asked);
  const std::string own = written(format, values);
  fuzz::require(own.size() == asked * bytesPerSample(format), "another number of bytes");
  const std::size_t whole = std::min(asked, bytes.size() / bytesPerSample(format));
  fuzz::require(
      own.compare(0, whole * bytesPerSample(format), bytes, 0, whole * bytesPerSample(format)) == 0,
      "other samples than were read");
  // Any float as 16 bits.
  written(SampleFormat::int16, readBack(SampleFormat::float32, bytes, asked));
  return 0;
}
