#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace mirel {

/// The busy cursor of a program without windows: a turning bar with the elapsed minutes and
/// seconds on the last line of a terminal. On anything else (a file, a pipe, a dumb terminal) it
/// writes nothing at all. It is drawn by a thread of its own; tasks run on the caller's thread.
class Spinner {
 public:
  /// @param descriptor where to draw, normally standard error; not owned.
  explicit Spinner(int descriptor);
  Spinner(const Spinner&) = delete;
  Spinner& operator=(const Spinner&) = delete;
  ~Spinner();

  /// Shows the spinner, counting from zero; nothing when it turns already.
  void start();
  /// Wipes and stops the spinner; nothing when it does not turn.
  void stop();
  /// Runs `write` while the spinner's line is wiped and nothing is drawn.
  void withLineWiped(const std::function<void()>& write);

 private:
  void draw(double seconds, unsigned frame);
  void wipe();
  void turn();

  int descriptor;
  bool drawn = false;
  bool turning = false;
  std::mutex mutex;
  std::condition_variable stopped;
  std::thread thread;
};

}  // namespace mirel
