#pragma once

#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "base/progress.h"

namespace mirel {

/// The exit status that shells report of a program that a signal killed: 130 after Ctrl-C (SIGINT),
/// 143 after SIGTERM, 129 after SIGHUP.
constexpr int exitStatusOf(int signal) { return 128 + signal; }

/// Thrown when a signal ended a job.
class Interrupted : public Cancelled {
 public:
  explicit Interrupted(int signal) : number(signal) {}
  int exitStatus() const { return exitStatusOf(number); }

 private:
  int number;
};

/// Ending a job by Ctrl-C (or a request to terminate) without leaving anything behind: while it
/// lives, SIGINT, SIGTERM and SIGHUP end the program at once as long as there is nothing
/// on the disk to take away; after `beginWriting` they only leave a mark, which `check` turns into
/// an exception.
class InterruptGuard {
 public:
  /// How the end is told: on standard error, or also as JSON on standard output.
  enum class Tell { asText, asJsonToo };

  explicit InterruptGuard(Tell how);
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;
  ~InterruptGuard();

  void beginWriting();
  /// Throws Interrupted after a signal.
  void check() const;
};

/// The same for commands that are no job of several stages: while it lives, these signals end the
/// program at once, whatever it does, and take its hidden files away. A thread waits for them.
/// The plugin's files are found as well: they are looked for, not remembered.
class EndBySignal {
 public:
  /// @param outputs  files, or folders that files go to, to look beside or in
  explicit EndBySignal(const std::vector<std::string>& outputs);
  EndBySignal(const EndBySignal&) = delete;
  EndBySignal& operator=(const EndBySignal&) = delete;
  ~EndBySignal();

 private:
  sigset_t waitedFor{}, before{};
  std::vector<std::filesystem::path> folders;
  std::thread waiting;
};

}  // namespace mirel
