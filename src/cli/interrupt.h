#pragma once

#include "base/progress.h"

namespace mirel {

/// Exit status of a program that was interrupted, as shells report it.
inline constexpr int exitInterrupted = 130;

/// Ending a job by Ctrl-C (or a request to terminate) without leaving anything behind: while it
/// lives, SIGINT, SIGTERM and SIGHUP end the program at once as long as there is nothing
/// on the disk to take away; after `beginWriting` they only leave a mark, which `check` turns into
/// an exception.
class InterruptGuard {
 public:
  InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;
  ~InterruptGuard();

  void beginWriting();
  /// Throws Cancelled after a signal.
  void check() const;
};

}  // namespace mirel
