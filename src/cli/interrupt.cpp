#include "cli/interrupt.h"

#include <unistd.h>

#include <csignal>
#include <cstddef>

namespace mirel {

namespace {

constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};
volatile std::sig_atomic_t writing = 0;
volatile std::sig_atomic_t signalled = 0;  // its number
volatile std::sig_atomic_t asJson = 0;

template <std::size_t size>
void show(int where, const char (&text)[size]) {
  // What cannot be shown does not matter any more.
  [[maybe_unused]] const auto count = ::write(where, text, size - 1);
}

void onSignal(int number) {
  if (writing != 0) {
    signalled = number;
    return;
  }
  show(STDERR_FILENO, "\nError: interrupted; nothing was written\n");
  if (asJson != 0)
    show(STDOUT_FILENO,
         "{\n  \"error\": {\n    \"message\": \"interrupted; nothing was "
         "written\"\n  }\n}\n");
  _exit(exitStatusOf(number));
}

}  // namespace

InterruptGuard::InterruptGuard(Tell how) {
  writing = 0;
  signalled = 0;
  asJson = how == Tell::asJsonToo ? 1 : 0;
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
  if (signalled != 0) throw Interrupted(signalled);
}

}  // namespace mirel
