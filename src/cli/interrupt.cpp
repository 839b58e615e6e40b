#include "cli/interrupt.h"

#include <unistd.h>

#include <csignal>

namespace mirel {

namespace {

constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};
volatile std::sig_atomic_t writing = 0;
volatile std::sig_atomic_t signalled = 0;

void onSignal(int) {
  if (writing == 0) {
    const char text[] = "\nError: interrupted; nothing was written\n";
    // What cannot be shown does not matter any more.
    [[maybe_unused]] const auto count = ::write(STDERR_FILENO, text, sizeof text - 1);
    _exit(exitInterrupted);
  }
  signalled = 1;
}

}  // namespace

InterruptGuard::InterruptGuard() {
  writing = 0;
  signalled = 0;
  // A signal that the caller has the program ignore (nohup) stays ignored.
  for (const int number : signals)
    if (std::signal(number, onSignal) == SIG_IGN) std::signal(number, SIG_IGN);
}

InterruptGuard::~InterruptGuard() {
  for (const int number : signals)
    if (std::signal(number, SIG_DFL) == SIG_IGN) std::signal(number, SIG_IGN);
}

void InterruptGuard::beginWriting() { writing = 1; }

void InterruptGuard::check() const {
  if (signalled != 0) throw Cancelled();
}

}  // namespace mirel
