#pragma once

#include <functional>
#include <string>

#include "host/spinner.h"

namespace mirel {

/// What the plugin shows to the user, on standard error: log lines, message boxes and the busy
/// cursor, and what the program itself has to say between them.
class Console {
 public:
  using Sink = std::function<void(const std::string& line)>;

  Console();

  /// One line; line feeds at the end of `text` are dropped and an empty text writes nothing (a
  /// log that closes sends one).
  void log(const std::string& text);
  /// A message box: its lines, and a count of its kind. An "Error: " box makes the program fail.
  void messageBox(const std::string& text);
  /// "Warning: " and the sentence.
  void warn(const std::string& sentence);

  void showBusyCursor() { spinner.start(); }
  void stopBusyCursor() { spinner.stop(); }

  /// Message boxes so far that begin with "Error: ", and others.
  int errors() const { return errorCount; }
  int findings() const { return findingCount; }

  /// Lines go to `sink` instead of standard error; an empty function sends them back there.
  void setSink(Sink sink) { lineSink = std::move(sink); }

 private:
  void writeLine(const std::string& text);

  Spinner spinner;
  Sink lineSink;
  int errorCount = 0;
  int findingCount = 0;
};

}  // namespace mirel
