#include "cli/plainimage.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

namespace mirel {

namespace {

constexpr std::size_t headerBytes = 352;

template <typename T>
void appendAll(std::vector<float>& values, const std::vector<unsigned char>& data, float slope,
               float intercept) {
  for (std::size_t at = 0; at + sizeof(T) <= data.size(); at += sizeof(T)) {
    T sample;
    std::memcpy(&sample, data.data() + at, sizeof sample);
    values.push_back(slope == 0 ? static_cast<float>(sample)
                                : slope * static_cast<float>(sample) + intercept);
  }
}

}  // namespace

PlainImage::PlainImage(const std::string& fileName) {
  gzFile file = gzopen(fileName.c_str(), "rb");
  if (file == nullptr) throw std::runtime_error("no image " + fileName);
  std::array<unsigned char, 65536> block;
  for (int got; (got = gzread(file, block.data(), block.size())) > 0;)
    data.insert(data.end(), block.begin(), block.begin() + got);
  gzclose(file);
  if (data.size() <= headerBytes) throw std::runtime_error("no image in " + fileName);
  header.assign(data.begin(), data.begin() + headerBytes);
  data.erase(data.begin(), data.begin() + headerBytes);
  if (shortAt(0) != 348 || floatAt(108) != headerBytes)
    throw std::runtime_error(fileName + " is no NIfTI-1 file in this machine's byte order");
}

void PlainImage::write(const std::string& fileName) const {
  gzFile file = gzopen(fileName.c_str(), "wb1");
  for (const auto* part : {&header, &data})
    if (gzwrite(file, part->data(), static_cast<unsigned>(part->size())) <= 0)
      throw std::runtime_error("cannot write " + fileName);
  if (gzclose(file) != Z_OK) throw std::runtime_error("cannot write " + fileName);
}

short PlainImage::shortAt(int offset) const {
  short value;
  std::memcpy(&value, header.data() + offset, sizeof value);
  return value;
}

float PlainImage::floatAt(int offset) const {
  float value;
  std::memcpy(&value, header.data() + offset, sizeof value);
  return value;
}

void PlainImage::put(int offset, short value) {
  std::memcpy(header.data() + offset, &value, sizeof value);
}

void PlainImage::put(int offset, float value) {
  std::memcpy(header.data() + offset, &value, sizeof value);
}

void PlainImage::setSize(int axis, float mm) {
  put(80 + 4 * axis, mm);
  for (int row = 0; row < 3; ++row)
    if (const float step = sform(row, axis); step != 0)
      put(280 + 16 * row + 4 * axis, step < 0 ? -mm : mm);
  put(252, short{0});
}

std::vector<float> PlainImage::values() const {
  std::vector<float> result;
  const float slope = floatAt(112), intercept = floatAt(116);
  switch (dataType()) {
    case 2:
      appendAll<std::uint8_t>(result, data, slope, intercept);
      break;
    case 4:
      appendAll<std::int16_t>(result, data, slope, intercept);
      break;
    case 16:
      appendAll<float>(result, data, slope, intercept);
      break;
    default:
      throw std::runtime_error("no samples of type " + std::to_string(dataType()) + " expected");
  }
  return result;
}

PlainImage PlainImage::withExchanged(int one, int other) const {
  PlainImage result = *this;
  result.put(42 + 2 * one, shortAt(42 + 2 * other));
  result.put(42 + 2 * other, shortAt(42 + 2 * one));
  result.put(80 + 4 * one, size(other));
  result.put(80 + 4 * other, size(one));
  for (int row = 0; row < 3; ++row) {
    result.put(280 + 16 * row + 4 * one, sform(row, other));
    result.put(280 + 16 * row + 4 * other, sform(row, one));
  }
  result.put(252, short{0});  // the quaternion still tells of the old axes
  const auto bytes = static_cast<std::size_t>(bytesPerSample());
  const std::size_t volumeBytes = bytes * static_cast<std::size_t>(voxels());
  for (std::size_t volume = 0; volume + volumeBytes <= data.size(); volume += volumeBytes)
    for (int z = 0; z < dim(3); ++z)
      for (int y = 0; y < dim(2); ++y)
        for (int x = 0; x < dim(1); ++x) {
          std::array<int, 3> to = {x, y, z};
          std::swap(to[static_cast<std::size_t>(one)], to[static_cast<std::size_t>(other)]);
          const int source = (z * dim(2) + y) * dim(1) + x;
          const int target = (to[2] * result.dim(2) + to[1]) * result.dim(1) + to[0];
          std::memcpy(result.data.data() + volume + bytes * static_cast<std::size_t>(target),
                      data.data() + volume + bytes * static_cast<std::size_t>(source), bytes);
        }
  return result;
}

PlainImage PlainImage::withReversed(int axis) const {
  PlainImage result = *this;
  for (int row = 0; row < 3; ++row) {
    const float step = sform(row, axis);
    result.put(280 + 16 * row + 4 * axis, -step);
    result.put(292 + 16 * row, sform(row, 3) + step * static_cast<float>(dim(axis + 1) - 1));
  }
  result.put(252, short{0});
  const std::array<int, 3> n = {dim(1), dim(2), dim(3)};
  const auto bytes = static_cast<std::size_t>(bytesPerSample());
  for (std::size_t sample = 0; sample < data.size() / bytes; ++sample) {
    const auto voxel = static_cast<int>(sample % static_cast<std::size_t>(voxels()));
    const int step = axis == 0 ? 1 : axis == 1 ? n[0] : n[0] * n[1];
    const int at = voxel / step % n[static_cast<std::size_t>(axis)];
    const int off = (n[static_cast<std::size_t>(axis)] - 1 - 2 * at) * step;
    const auto target = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(sample) + off);
    std::memcpy(result.data.data() + bytes * target, data.data() + bytes * sample, bytes);
  }
  return result;
}

PlainImage PlainImage::withAppended(const PlainImage& other) const {
  PlainImage result = *this;
  const auto volumes = static_cast<short>(std::max(dim(4), 1) + std::max(other.dim(4), 1));
  result.put(40, short{4});
  result.put(48, volumes);
  result.data.insert(result.data.end(), other.data.begin(), other.data.end());
  return result;
}

PlainImage PlainImage::withoutOrientation() const {
  PlainImage result = *this;
  result.put(252, short{0});
  result.put(254, short{0});
  return result;
}

PlainImage PlainImage::onlyVolume(int t) const {
  PlainImage result = *this;
  result.put(48, short{1});
  const std::ptrdiff_t bytes = std::ptrdiff_t{voxels()} * bytesPerSample();
  result.data.assign(data.begin() + t * bytes, data.begin() + (t + 1) * bytes);
  return result;
}

double largestDifference(const std::vector<float>& a, const std::vector<float>& b) {
  if (a.size() != b.size()) return std::numeric_limits<double>::infinity();
  double largest = 0;
  for (std::size_t n = 0; n < a.size(); ++n)
    largest = std::max(largest, std::abs(static_cast<double>(a[n]) - static_cast<double>(b[n])));
  return largest;
}

}  // namespace mirel
