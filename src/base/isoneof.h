#pragma once

#include <algorithm>
#include <initializer_list>
#include <string_view>

namespace mirel {

/// Whether a word is one of some: isOneOf(name, {"echo", "part"}), or of those of an array.
template <class Words = std::initializer_list<std::string_view>>
bool isOneOf(std::string_view word, const Words& words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

}  // namespace mirel
