#include "host/parameterstore.h"

#include <algorithm>

#include "base/error.h"

namespace mirel {

void copyToTextBuffer(const std::string& text, char* buffer) {
  const std::size_t count = std::min(text.size(), longestText);
  std::copy_n(text.data(), count, buffer);
  buffer[count] = '\0';
}

void ParameterStore::setText(const std::string& name, const std::string& value) {
  if (value.size() > longestText)
    throw Error("the dialog parameter \"" + name + "\" holds at most " +
                std::to_string(longestText) + " bytes, but its value has " +
                std::to_string(value.size()));
  texts[name] = value;
}

void ParameterStore::setInt(const std::string& name, int value) { integers[name] = value; }

std::optional<std::string> ParameterStore::text(const std::string& name) const {
  const auto found = texts.find(name);
  return found == texts.end() ? std::nullopt : std::optional(found->second);
}

std::optional<int> ParameterStore::integer(const std::string& name) const {
  const auto found = integers.find(name);
  return found == integers.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace mirel
