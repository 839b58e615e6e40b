#include "host/console.h"

#include <unistd.h>

#include <cstdio>

#include "base/plaintext.h"

namespace mirel {

Console::Console() : spinner(STDERR_FILENO) {}

void Console::writeLine(const std::string& text) {
  const std::size_t last = text.find_last_not_of('\n');
  if (last == std::string::npos) return;
  const std::string line = withoutControlBytes(text.substr(0, last + 1));
  if (lineSink) {
    lineSink(line);
    return;
  }
  const std::string terminated = line + "\n";
  spinner.withLineWiped(
      [&terminated] { std::fwrite(terminated.data(), 1, terminated.size(), stderr); });
}

void Console::log(const std::string& text) { writeLine(text); }

void Console::messageBox(const std::string& text) {
  ++(text.starts_with("Error: ") ? errorCount : findingCount);
  writeLine(text);
}

void Console::warn(const std::string& sentence) { writeLine("Warning: " + sentence); }

}  // namespace mirel
