#include "cli/progressbar.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/terminal.h"

namespace mirel {

namespace {

constexpr int barWidth = 24;
constexpr double redrawSeconds = 0.1;

int terminalColumns() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace

ProgressBar::Output ProgressBar::suitable() {
  return canRedraw(STDERR_FILENO) ? Output::bar : Output::lines;
}

std::string ProgressBar::line(const std::string& stage, double done, double elapsedSeconds,
                              int columns) {
  const double part = std::clamp(done, 0.0, 1.0);
  const int filled = static_cast<int>(part * barWidth);
  std::string text = "[" + std::string(static_cast<std::size_t>(filled), '#') +
                     std::string(static_cast<std::size_t>(barWidth - filled), '-') + "]";
  char numbers[48];
  std::snprintf(numbers, sizeof numbers, " %3d %%", static_cast<int>(part * 100));
  text += numbers;
  if (part > 0 && part < 1) {
    const int left = static_cast<int>(std::lround(elapsedSeconds * (1 - part) / part));
    std::snprintf(numbers, sizeof numbers, "  %d:%02d left", left / 60, left % 60);
    text += numbers;
  }
  text += "  " + stage;
  if (static_cast<int>(text.size()) > columns)
    text.resize(static_cast<std::size_t>(std::max(columns, 0)));
  return text;
}

void ProgressBar::show(const std::string& stage, double done) {
  if (kind == Output::none) return;
  const Clock::time_point now = Clock::now();
  const bool isNew = stage != current;
  if (isNew) {
    current = stage;
    start = now;
  }
  if (kind == Output::lines) {
    if (isNew) std::fprintf(stderr, "%s...\n", stage.c_str());
    return;
  }
  const auto seconds = [&](Clock::time_point since) {
    return std::chrono::duration<double>(now - since).count();
  };
  if (!isNew && done < 1 && seconds(lastDrawn) < redrawSeconds) return;
  // The last column stays free: some terminals wrap there.
  const std::string text = line(stage, done, seconds(start), terminalColumns() - 1);
  std::fprintf(stderr, "\r%s\033[K", text.c_str());
  std::fflush(stderr);
  lastDrawn = now;
  drawn = true;
}

void ProgressBar::clear() {
  if (drawn) {
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
  }
  drawn = false;
}

}  // namespace mirel
