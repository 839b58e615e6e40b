#pragma once

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

namespace mirel {

/// What a file holds. It throws where that is no JSON.
inline nlohmann::json jsonOf(const std::string& fileName) {
  return nlohmann::json::parse(std::ifstream(fileName));
}

}  // namespace mirel
