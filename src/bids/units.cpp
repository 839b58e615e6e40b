#include "bids/units.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <numbers>
#include <stdexcept>
#include <utility>

namespace mirel::bids {

namespace {

constexpr double protonHertzPerTesla = 42.577478518e6;

// In small letters and without blanks.
constexpr std::array<std::pair<const char*, Unit>, 29> spellings{{
    {"hz", Unit::hertz},
    {"hertz", Unit::hertz},
    {"rad/s", Unit::radiansPerSecond},
    {"rads/s", Unit::radiansPerSecond},
    {"rad/sec", Unit::radiansPerSecond},
    {"rads/sec", Unit::radiansPerSecond},
    {"rad*s^-1", Unit::radiansPerSecond},
    {"rads^-1", Unit::radiansPerSecond},
    {"radians/s", Unit::radiansPerSecond},
    {"radians/sec", Unit::radiansPerSecond},
    {"radians/second", Unit::radiansPerSecond},
    {"radianspersecond", Unit::radiansPerSecond},
    {"t", Unit::tesla},
    {"tesla", Unit::tesla},
    {"voxels", Unit::voxels},
    {"voxel", Unit::voxels},
    {"vox", Unit::voxels},
    {"pixels", Unit::voxels},
    {"pixel", Unit::voxels},
    {"mm", Unit::millimetres},
    {"millimetres", Unit::millimetres},
    {"millimetre", Unit::millimetres},
    {"millimeters", Unit::millimetres},
    {"millimeter", Unit::millimetres},
    {"rad", Unit::radians},
    {"rads", Unit::radians},
    {"radians", Unit::radians},
    {"arbitrary", Unit::arbitrary},
    {"a.u.", Unit::arbitrary},
}};

}  // namespace

std::optional<Unit> unitOf(const std::string& text) {
  std::string plain;
  for (const char each : text) {
    const auto c = static_cast<unsigned char>(each);
    if (std::isspace(c) == 0) plain += static_cast<char>(std::tolower(c));
  }
  const auto* found = std::find_if(spellings.begin(), spellings.end(),
                                   [&](const auto& each) { return plain == each.first; });
  if (found == spellings.end()) return std::nullopt;
  return found->second;
}

std::string nameOf(Unit unit) {
  switch (unit) {
    case Unit::hertz:
      return "Hz";
    case Unit::radiansPerSecond:
      return "rad/s";
    case Unit::tesla:
      return "T";
    case Unit::voxels:
      return "voxels";
    case Unit::millimetres:
      return "mm";
    case Unit::radians:
      return "rad";
    case Unit::arbitrary:
      break;
  }
  return "arbitrary";
}

double hertzPer(Unit unit) {
  switch (unit) {
    case Unit::hertz:
      return 1;
    case Unit::radiansPerSecond:
      return 0.5 * std::numbers::inv_pi;
    case Unit::tesla:
      return protonHertzPerTesla;
    default:
      throw std::logic_error("no unit of a field: " + nameOf(unit));
  }
}

}  // namespace mirel::bids
