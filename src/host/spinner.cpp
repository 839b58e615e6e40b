#include "host/spinner.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace mirel {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto frameTime = std::chrono::milliseconds(120);
constexpr std::string_view frames = "|/-\\";
constexpr std::string_view wipeLine = "\r\033[K";

bool canDraw(int descriptor) {
  const char* terminal = std::getenv("TERM");
  return isatty(descriptor) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

void put(int descriptor, std::string_view text) {
  // A frame that the terminal does not take is not worth a failure: the next one follows.
  [[maybe_unused]] const ssize_t written = write(descriptor, text.data(), text.size());
}

}  // namespace

Spinner::Spinner(int drawTo) : descriptor(drawTo) {}

Spinner::~Spinner() { stop(); }

void Spinner::start() {
  if (turning || !canDraw(descriptor)) return;
  turning = true;
  thread = std::thread([this] { turn(); });
}

void Spinner::stop() {
  if (!thread.joinable()) return;
  {
    const std::lock_guard lock(mutex);
    turning = false;
    wipe();
  }
  stopped.notify_all();
  thread.join();
}

void Spinner::withLineWiped(const std::function<void()>& write) {
  const std::lock_guard lock(mutex);
  wipe();
  write();
}

void Spinner::draw(double seconds, unsigned frame) {
  const int whole = static_cast<int>(seconds);
  char text[64];
  std::snprintf(text, sizeof text, "\r\033[K%c %d:%02d", frames[frame % frames.size()], whole / 60,
                whole % 60);
  put(descriptor, text);
  drawn = true;
}

void Spinner::wipe() {
  if (drawn) put(descriptor, wipeLine);
  drawn = false;
}

void Spinner::turn() {
  const Clock::time_point begin = Clock::now();
  std::unique_lock lock(mutex);
  for (unsigned frame = 0; turning; ++frame) {
    draw(std::chrono::duration<double>(Clock::now() - begin).count(), frame);
    stopped.wait_for(lock, frameTime, [this] { return !turning; });
  }
}

}  // namespace mirel
