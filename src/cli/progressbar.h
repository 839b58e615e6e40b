#pragma once

#include <chrono>
#include <string>

namespace mirel {

/// Where a long job stands, on standard error: on a terminal one line that is redrawn, with the
/// stage, a bar, the percentage and the time left of the stage; elsewhere a line per stage.
class ProgressBar {
 public:
  enum class Output { bar, lines, none };

  /// Standard error's own kind: a bar on a terminal that can redraw a line, else lines.
  static Output suitable();

  explicit ProgressBar(Output output) : kind(output) {}
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar() { clear(); }

  /// @param done  0 .. 1 of this stage; a new stage starts its own clock.
  void show(const std::string& stage, double done);
  /// Wipes the bar, for other text.
  void clear();

  /// The line that is drawn, at most `columns` wide.
  static std::string line(const std::string& stage, double done, double elapsedSeconds,
                          int columns);

 private:
  using Clock = std::chrono::steady_clock;

  Output kind;
  std::string current;
  Clock::time_point start, lastDrawn;
  bool drawn = false;
};

}  // namespace mirel
