#include "bids/phaseencoding.h"

#include "base/error.h"

namespace mirel::bids {

PhaseEncodingDirection parsePhaseEncoding(const std::string& text, const std::string& source) {
  const std::string axes = "ijk";
  const std::size_t axis = text.empty() ? std::string::npos : axes.find(text[0]);
  const std::string rest = text.empty() ? "" : text.substr(1);
  if (axis == std::string::npos || (rest != "" && rest != "-" && rest != "+"))
    throw Error(source + ": \"" + text +
                "\" is no phase-encoding direction (i, i-, j, j-, k or k-)");
  return {static_cast<int>(axis), rest == "-" ? -1 : 1};
}

std::string nameOf(PhaseEncodingDirection direction) {
  return std::string(1, "ijk"[direction.axis]) + (direction.sign < 0 ? "-" : "");
}

}  // namespace mirel::bids
