#include "numerics/sortedvalues.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace mirel {

namespace {

constexpr unsigned digitBits = 11;
constexpr std::uint32_t digits = 1U << digitBits, sign = 1U << 31;

// Ascends as the values do.
std::uint32_t keyOf(float value) {
  const auto bits = std::bit_cast<std::uint32_t>(value);
  return (bits & sign) != 0 ? ~bits : bits | sign;
}

float valueOf(std::uint32_t key) {
  return std::bit_cast<float>((key & sign) != 0 ? key & ~sign : ~key);
}

// Keeps the order of keys with equal digits.
void sortByDigit(const std::vector<std::uint32_t>& keys, unsigned shift,
                 std::vector<std::uint32_t>& sorted) {
  std::array<std::size_t, digits> next{};
  for (const std::uint32_t key : keys) ++next[key >> shift & (digits - 1)];
  std::size_t first = 0;
  for (std::size_t& place : next) {
    const std::size_t count = place;
    place = first;
    first += count;
  }
  for (const std::uint32_t key : keys) sorted[next[key >> shift & (digits - 1)]++] = key;
}

}  // namespace

std::vector<float> sortedFinite(const Volume<float>& image) {
  std::vector<std::uint32_t> keys;
  keys.reserve(static_cast<std::size_t>(image.size()));
  for (int i = 0; i < image.size(); ++i)
    if (std::isfinite(image.data()[i])) keys.push_back(keyOf(image.data()[i]));
  std::vector<std::uint32_t> sorted(keys.size());
  for (unsigned shift = 0; shift < 32; shift += digitBits) {
    sortByDigit(keys, shift, sorted);
    keys.swap(sorted);
  }
  std::vector<float> values;
  values.reserve(keys.size());
  for (const std::uint32_t key : keys) values.push_back(valueOf(key));
  return values;
}

}  // namespace mirel
