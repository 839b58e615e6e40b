#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace mirel {

/// Bytes of text that the plugin's buffers hold, without the terminator. Nothing longer is
/// ever handed to the plugin.
inline constexpr std::size_t longestText = 511;

/// Copies `text` and a terminator to `buffer`, which holds `longestText` + 1 bytes; what does
/// not fit is cut.
void copyToTextBuffer(const std::string& text, char* buffer);

/// The dialog's named parameters. Texts and integers have separate names, as in the dialog.
class ParameterStore {
 public:
  /// Errors   Error naming the parameter when `value` is longer than `longestText`; the
  ///          parameter keeps the value it had.
  void setText(const std::string& name, const std::string& value);
  void setInt(const std::string& name, int value);

  /// The value; empty when the parameter was never set.
  std::optional<std::string> text(const std::string& name) const;
  std::optional<int> integer(const std::string& name) const;

 private:
  std::map<std::string, std::string> texts;
  std::map<std::string, int> integers;
};

}  // namespace mirel
