#pragma once

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

}  // namespace mirel
