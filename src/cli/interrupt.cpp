#include "cli/interrupt.h"

#include <unistd.h>

#include <csignal>
#include <cstddef>

#include "base/moveall.h"

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

namespace {

// Ends the waiting thread; nobody else sends it to a thread.
constexpr int noMore = SIGUSR2;

void waitAndEnd(const sigset_t& waitedFor, const std::vector<std::filesystem::path>& folders) {
  int number = 0;
  if (sigwait(&waitedFor, &number) != 0 || number == noMore) return;
  for (const std::filesystem::path& folder : folders) removeOwnHidden(folder);
  show(STDERR_FILENO, "\nError: interrupted\n");
  _exit(exitStatusOf(number));
}

}  // namespace

EndBySignal::EndBySignal(const std::vector<std::string>& outputs) {
  for (const std::string& output : outputs) {
    const std::filesystem::path path(output);
    folders.push_back(path);
    folders.push_back(path.has_parent_path() ? path.parent_path() : ".");
  }
  sigemptyset(&waitedFor);
  sigaddset(&waitedFor, noMore);
  for (const int number : signals) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_IGN) sigaddset(&waitedFor, number);
  }
  pthread_sigmask(SIG_BLOCK, &waitedFor, &before);
  waiting = std::thread([this] { waitAndEnd(waitedFor, folders); });
}

EndBySignal::~EndBySignal() {
  pthread_kill(waiting.native_handle(), noMore);
  waiting.join();
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace mirel
